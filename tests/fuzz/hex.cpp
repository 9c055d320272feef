// Hexadecimal text: every text is read as the table says, and what was written is read back.
// Buffers are as long as they have to be, and stand at odd addresses half of the time.
#include <kq/converter/hex.h>

#include "fuzz/require.h"

#include <cstring>
#include <memory>

using kq_fuzz::Require;

namespace {

/// Room for so many objects, from any address on.
template <class T>
class Room {
public:
    Room(std::size_t count, bool isOdd)
        : bytes_(new unsigned char[count * sizeof(T) + (isOdd ? 1 : 0)]), // NOLINT: exact bounds
          begin_(bytes_.get() + (isOdd ? 1 : 0)) {}

    T* Begin() const { return reinterpret_cast<T*>(begin_); }
    T At(std::size_t i) const {
        T value;
        std::memcpy(&value, begin_ + i * sizeof(T), sizeof(T));
        return value;
    }
    void Set(std::size_t i, T value) const {
        std::memcpy(begin_ + i * sizeof(T), &value, sizeof(T));
    }

private:
    std::unique_ptr<unsigned char[]> bytes_; // NOLINT
    unsigned char* begin_;
};

unsigned ValueOf(wchar_t digit) {
    const char digits[] = "0123456789abcdef0123456789ABCDEF";
    for (unsigned i = 0; i != 32; ++i)
        if (digit == static_cast<wchar_t>(digits[i]))
            return i % 16;
    return 0;
}

void ReadText(const std::uint8_t* data, std::size_t count, bool isOdd) {
    const Room<wchar_t> text(count, isOdd);
    for (std::size_t i = 0; i != count; ++i)
        text.Set(i, static_cast<wchar_t>(data[2 * i] << 8 | data[2 * i + 1]));
    const Room<unsigned char> bytes(count / 2, !isOdd);
    Require(Hex2Mem(bytes.Begin(), text.Begin(), count) == bytes.Begin() + count / 2,
            "Hex2Mem ends where its output ends");
    for (std::size_t i = 0; i != count / 2; ++i)
        Require(bytes.At(i) == ValueOf(text.At(2 * i)) * 16 + ValueOf(text.At(2 * i + 1)),
                "Hex2Mem reads a pair");
}

void WriteAndReadBack(const std::uint8_t* data, std::size_t size, bool isOdd) {
    const Room<wchar_t> text(2 * size, isOdd);
    Require(Mem2Hex(text.Begin(), data, size) == text.Begin() + 2 * size,
            "Mem2Hex ends where its output ends");
    const wchar_t digits[] = L"0123456789abcdef";
    for (std::size_t i = 0; i != 2 * size; ++i)
        Require(text.At(i) == digits[data[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15],
                "Mem2Hex writes a digit");
    const Room<unsigned char> bytes(size, isOdd);
    Hex2Mem(bytes.Begin(), text.Begin(), 2 * size);
    Require(size == 0 || std::memcmp(bytes.Begin(), data, size) == 0,
            "Hex2Mem reads what Mem2Hex wrote");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const bool isOdd = data[0] % 2 != 0;
    ReadText(data + 1, (size - 1) / 2, isOdd);
    WriteAndReadBack(data + 1, size - 1, isOdd);
    return 0;
}
