#include <kq/converter/hex.h>

#include "converter/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t size = 4096;
constexpr std::size_t repetitions = 500;

// The peers: a loop over a table, as it is written when nobody thinks of the processor.

[[gnu::noinline]] void EncodeByTable(wchar_t* out, const unsigned char* data, std::size_t length) {
    static constexpr wchar_t digits[] = L"0123456789abcdef";
    for (std::size_t i = 0; i != length; ++i) {
        *out++ = digits[data[i] >> 4];
        *out++ = digits[data[i] & 15];
    }
}

constexpr std::array<unsigned char, 256> MakeValues() {
    std::array<unsigned char, 256> values{};
    for (unsigned digit = 0; digit != 10; ++digit)
        values['0' + digit] = static_cast<unsigned char>(digit);
    for (unsigned letter = 0; letter != 6; ++letter)
        values['a' + letter] = values['A' + letter] = static_cast<unsigned char>(10 + letter);
    return values;
}

[[gnu::noinline]] void DecodeByTable(unsigned char* out, const wchar_t* text, std::size_t count) {
    static constexpr std::array<unsigned char, 256> values = MakeValues();
    const auto valueOf = [](wchar_t digit) -> unsigned { return digit < 256 ? values[digit] : 0; };
    for (std::size_t i = 0; i + 1 < count; i += 2)
        *out++ = static_cast<unsigned char>(valueOf(text[i]) << 4 | valueOf(text[i + 1]));
}

/// Nanoseconds for each KiB of the memory.
template <class Work>
double PerKibibyte(Work work) {
    const Stopwatch watch;
    for (std::size_t i = 0; i != repetitions; ++i)
        work();
    return watch.NanosecondsPer(repetitions * size / 1024);
}

} // namespace

void Hex() {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i != size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 167 + (i >> 8) + 13);
    std::vector<wchar_t> text(2 * size);
    std::vector<wchar_t> sameText(2 * size);
    std::vector<unsigned char> sameBytes(size);
    Mem2Hex(text.data(), bytes.data(), size);
    EncodeByTable(sameText.data(), bytes.data(), size);
    Require(text == sameText, "the peer encodes the same");
    DecodeByTable(sameBytes.data(), text.data(), text.size());
    Require(bytes == sameBytes, "the peer decodes the same");

    constexpr const char* tableName = "loop over a table";
    Row encode("Mem2Hex of 4 KiB", "ns/KiB");
    encode.Enter("kq Mem2Hex",
                 [&] { return PerKibibyte([&] { Mem2Hex(text.data(), bytes.data(), size); }); });
    encode.EnterPeer(tableName, [&] {
        return PerKibibyte([&] { EncodeByTable(text.data(), bytes.data(), size); });
    });
    encode.EnterLimit("memcpy of the text", [&] {
        return PerKibibyte(
            [&] { std::memcpy(sameText.data(), text.data(), text.size() * sizeof(wchar_t)); });
    });
    encode.AimAtMostTimes(1.0 / 6);
    Row decode("Hex2Mem of 4 KiB", "ns/KiB");
    decode.Enter("kq Hex2Mem", [&] {
        return PerKibibyte([&] { Hex2Mem(bytes.data(), text.data(), text.size()); });
    });
    decode.EnterPeer(tableName, [&] {
        return PerKibibyte([&] { DecodeByTable(bytes.data(), text.data(), text.size()); });
    });
    decode.EnterLimit("memcpy of the text", [&] {
        return PerKibibyte(
            [&] { std::memcpy(sameText.data(), text.data(), text.size() * sizeof(wchar_t)); });
    });
    decode.AimAtMostTimes(1.0 / 3);
    Measure({&encode, &decode}, 51);
    encode.Report();
    decode.Report();
    Require(text == sameText && bytes == sameBytes, "all of them agree");
}

} // namespace bench
