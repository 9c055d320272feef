// The conversions touch nothing outside of their buffers: behind them nothing can be touched.
#include <kq/converter/hex.h>

#include "support/page_end.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

namespace {

constexpr std::size_t longest = 200;

unsigned char ByteAt(std::size_t i) { return static_cast<unsigned char>(i * 167 + 13); }

TEST(Mem2Hex, TouchesNothingBehindItsBuffers) {
    const PageEnd source;
    const PageEnd target;
    for (std::size_t length = 0; length <= longest; ++length) {
        unsigned char* const bytes = source.Last(length);
        for (std::size_t i = 0; i != length; ++i)
            bytes[i] = ByteAt(i);
        unsigned char* const text = target.Last(2 * length * sizeof(wchar_t));
        text[-1] = 0x5A;
        Mem2Hex(reinterpret_cast<wchar_t*>(text), bytes, length);
        EXPECT_EQ(text[-1], 0x5A) << length;
        for (std::size_t i = 0; i != length; ++i) {
            wchar_t pair[3] = L"";
            std::memcpy(pair, text + 2 * i * sizeof(wchar_t), 2 * sizeof(wchar_t));
            EXPECT_EQ(std::wcstoul(pair, nullptr, 16), ByteAt(i)) << length << ' ' << i;
        }
    }
}

TEST(Hex2Mem, TouchesNothingBehindItsBuffers) {
    const PageEnd source;
    const PageEnd target;
    for (std::size_t count = 0; count <= 2 * longest; ++count) {
        const std::size_t length = count / 2;
        unsigned char* const text = source.Last(count * sizeof(wchar_t));
        for (std::size_t i = 0; i != count; ++i) { // and an odd last one
            const int byte = ByteAt(i / 2);
            const wchar_t digit = L"0123456789abcdef"[i % 2 == 0 ? byte / 16 : byte % 16];
            std::memcpy(text + i * sizeof(wchar_t), &digit, sizeof(digit));
        }
        unsigned char* const bytes = target.Last(length);
        bytes[-1] = 0x5A;
        Hex2Mem(bytes, reinterpret_cast<wchar_t*>(text), count);
        EXPECT_EQ(bytes[-1], 0x5A) << count;
        for (std::size_t i = 0; i != length; ++i)
            EXPECT_EQ(bytes[i], ByteAt(i)) << count << ' ' << i;
    }
}

} // namespace
