#include <kq/converter/hex.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

// What stands around the results, so that a write beyond them shows.
constexpr wchar_t untouched = L'#';

std::wstring HexOf(const std::vector<unsigned char>& bytes) {
    std::wstring text(2 * bytes.size() + 1, untouched);
    EXPECT_EQ(Mem2Hex(text.data(), bytes.data(), bytes.size()), text.data() + 2 * bytes.size());
    EXPECT_EQ(text.back(), untouched);
    text.pop_back();
    return text;
}

std::vector<unsigned char> BytesOf(const std::wstring& text) {
    const std::size_t length = text.size() / 2;
    std::vector<unsigned char> bytes(length + 1, 0x5A);
    EXPECT_EQ(Hex2Mem(bytes.data(), text.data(), text.size()), bytes.data() + length);
    EXPECT_EQ(bytes.back(), 0x5A);
    bytes.pop_back();
    return bytes;
}

using Bytes = std::vector<unsigned char>;

// Every byte value turns up, and neighbours differ.
Bytes SomeBytes(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i != length; ++i)
        bytes[i] = static_cast<unsigned char>(i * 167 + (i >> 8) + 13);
    return bytes;
}

std::wstring SlowHexOf(const Bytes& bytes) {
    const wchar_t* const digits = L"0123456789abcdef";
    std::wstring text;
    for (const unsigned char byte : bytes) {
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

TEST(Mem2Hex, WritesTheHighNibbleFirstInLowerCase) {
    EXPECT_EQ(HexOf({0x00, 0xAB, 0xFF}), L"00abff");
}

TEST(Mem2Hex, OfNothingWritesNothingAndReturnsItsStart) {
    wchar_t text = untouched;
    EXPECT_EQ(Mem2Hex(&text, "x", 0), &text);
    EXPECT_EQ(text, untouched);
    EXPECT_EQ(Mem2Hex(nullptr, nullptr, 0), nullptr);
}

TEST(Mem2Hex, WritesEveryByteValue) {
    Bytes bytes(256);
    for (std::size_t i = 0; i != bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(HexOf(bytes), SlowHexOf(bytes));
}

TEST(Mem2Hex, WritesEveryLength) {
    for (std::size_t length = 0; length != 201; ++length) {
        const Bytes bytes = SomeBytes(length);
        EXPECT_EQ(HexOf(bytes), SlowHexOf(bytes)) << length;
    }
}

TEST(Mem2Hex, WritesMegabytes) {
    const Bytes bytes = SomeBytes((std::size_t{3} << 20) + 5);
    EXPECT_TRUE(HexOf(bytes) == SlowHexOf(bytes));
}

TEST(Mem2Hex, TakesBuffersAtAnyAddress) {
    const Bytes bytes = SomeBytes(100);
    const std::wstring expected = SlowHexOf(bytes);
    for (std::size_t offset = 0; offset != 32; ++offset) {
        Bytes source(offset + bytes.size());
        std::memcpy(source.data() + offset, bytes.data(), bytes.size());
        Bytes target(offset + expected.size() * sizeof(wchar_t));
        Mem2Hex(reinterpret_cast<wchar_t*>(target.data() + offset), source.data() + offset,
                bytes.size());
        EXPECT_EQ(
            std::memcmp(target.data() + offset, expected.data(), expected.size() * sizeof(wchar_t)),
            0)
            << offset;
    }
}

TEST(Hex2Mem, ReadsEitherCase) {
    EXPECT_EQ(BytesOf(L"ABff"), (Bytes{0xAB, 0xFF}));
    EXPECT_EQ(BytesOf(L"0123456789ABCDEF"), BytesOf(L"0123456789abcdef"));
    EXPECT_EQ(BytesOf(L"0123456789abcdef"),
              (Bytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
}

TEST(Hex2Mem, CountsOtherCharactersAsZero) {
    EXPECT_EQ(BytesOf(L"zz"), (Bytes{0x00}));
    EXPECT_EQ(BytesOf(L"z1"), (Bytes{0x01}));
    EXPECT_EQ(BytesOf(L"1z"), (Bytes{0x10}));
}

TEST(Hex2Mem, IgnoresAnOddLastCharacter) {
    EXPECT_EQ(BytesOf(L"abc"), (Bytes{0xAB}));
    EXPECT_EQ(BytesOf(L"a"), Bytes{});
}

TEST(Hex2Mem, OfNothingWritesNothingAndReturnsItsStart) {
    unsigned char byte = 0x5A;
    EXPECT_EQ(Hex2Mem(&byte, L"ab", 0), &byte);
    EXPECT_EQ(byte, 0x5A);
    EXPECT_EQ(Hex2Mem(nullptr, nullptr, 0), nullptr);
}

TEST(Hex2Mem, GivesEveryCharacterItsValueInBothPlaces) {
    const std::wstring digits = L"0123456789abcdef";
    const std::wstring upperCaseDigits = L"0123456789ABCDEF";
    std::wstring text;
    Bytes expected;
    for (unsigned character = 0; character != 0x10000; ++character) {
        const auto digit = static_cast<wchar_t>(character);
        std::size_t value = digits.find(digit);
        if (value == std::wstring::npos)
            value = upperCaseDigits.find(digit);
        if (value == std::wstring::npos)
            value = 0;
        text += {digit, L'0', L'0', digit};
        expected.push_back(static_cast<unsigned char>(value << 4));
        expected.push_back(static_cast<unsigned char>(value));
    }
    EXPECT_TRUE(BytesOf(text) == expected);
}

// Next to the digits, and what has the low byte of a digit or becomes one when cut short.
TEST(Hex2Mem, CountsOtherCharactersAsZeroWhereverTheyStand) {
    const std::wstring others = {L'\0',    L'/',      L':',      L'@',      L'G',      L'`',
                                 L'g',     L'\x7f',   L'\xb0',   L'\xe1',   L'\xff',   L'\x130',
                                 L'\x161', L'\x3000', L'\x7fff', L'\x8030', L'\xff46', L'\xffff'};
    constexpr std::size_t lengths[] = {1, 2, 8, 15, 16, 17, 31, 32, 33, 47, 48, 49, 64, 65};
    for (const std::size_t length : lengths) {
        const Bytes bytes = SomeBytes(length);
        const std::wstring text = SlowHexOf(bytes);
        for (std::size_t place = 0; place != text.size(); ++place)
            for (const wchar_t other : others) {
                std::wstring misplaced = text;
                misplaced[place] = other;
                Bytes expected = bytes;
                expected[place / 2] &= place % 2 == 0 ? 0x0F : 0xF0;
                ASSERT_EQ(BytesOf(misplaced), expected)
                    << "length " << length << ", place " << place << ", character "
                    << static_cast<unsigned>(other);
            }
    }
}

TEST(Hex2Mem, ReadsBackWhatMem2HexWroteAtEveryLength) {
    for (std::size_t length = 0; length != 201; ++length) {
        const Bytes bytes = SomeBytes(length);
        EXPECT_EQ(BytesOf(HexOf(bytes)), bytes) << length;
    }
}

TEST(Hex2Mem, TakesBuffersAtAnyAddress) {
    const Bytes bytes = SomeBytes(100);
    const std::wstring text = SlowHexOf(bytes);
    for (std::size_t offset = 0; offset != 32; ++offset) {
        Bytes source(offset + text.size() * sizeof(wchar_t));
        std::memcpy(source.data() + offset, text.data(), text.size() * sizeof(wchar_t));
        Bytes target(offset + bytes.size());
        Hex2Mem(target.data() + offset, reinterpret_cast<wchar_t*>(source.data() + offset),
                text.size());
        EXPECT_EQ(std::memcmp(target.data() + offset, bytes.data(), bytes.size()), 0) << offset;
    }
}

} // namespace
