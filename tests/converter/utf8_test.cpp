#include <windows.h>

#include <kq/converter/utf8.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

using kq::converter::ConvertUcs2ToUtf8;
using kq::converter::ConvertUtf8ToUcs2;

namespace {

constexpr char32_t lastCodePoint = 0x10ffff;

bool IsSurrogate(char32_t code) { return code >= 0xd800 && code <= 0xdfff; }

std::wstring Utf16Of(char32_t code) {
    if (code < 0x10000)
        return std::wstring(1, static_cast<wchar_t>(code));
    const char32_t rest = code - 0x10000;
    return {static_cast<wchar_t>(0xd800 + (rest >> 10)),
            static_cast<wchar_t>(0xdc00 + (rest & 0x3ff))};
}

// By the table of RFC 3629.
std::string Utf8Of(char32_t code) {
    const auto tail = [code](int shift) {
        return static_cast<char>(0x80 | ((code >> shift) & 0x3f));
    };
    if (code < 0x80)
        return {static_cast<char>(code)};
    if (code < 0x800)
        return {static_cast<char>(0xc0 | (code >> 6)), tail(0)};
    if (code < 0x10000)
        return {static_cast<char>(0xe0 | (code >> 12)), tail(6), tail(0)};
    return {static_cast<char>(0xf0 | (code >> 18)), tail(12), tail(6), tail(0)};
}

// The platform's answer, in a buffer that is always large enough.
std::string PlatformUtf8Of(const std::wstring& text) {
    std::string buffer(text.size() * 3 + 1, '\0');
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), buffer.data(),
                            static_cast<int>(buffer.size()), nullptr, nullptr);
    return buffer.substr(0, static_cast<std::size_t>(length));
}

std::wstring PlatformUtf16Of(const std::string& text) {
    std::wstring buffer(text.size() + 1, L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                           buffer.data(), static_cast<int>(buffer.size()));
    return buffer.substr(0, static_cast<std::size_t>(length));
}

TEST(Utf8, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(ConvertUcs2ToUtf8(L""), "");
    EXPECT_EQ(ConvertUtf8ToUcs2(""), L"");
}

TEST(Utf8, KeepsZeros) {
    const std::wstring wide(L"\0a\0", 3);
    const std::string narrow("\0a\0", 3);
    EXPECT_EQ(ConvertUcs2ToUtf8(wide), narrow);
    EXPECT_EQ(ConvertUtf8ToUcs2(narrow), wide);
}

TEST(Utf8, ConvertsEveryCodePointBothWays) {
    for (char32_t code = 0; code <= lastCodePoint; ++code) {
        const std::wstring wide = Utf16Of(code);
        const std::string converted = ConvertUcs2ToUtf8(wide);
        ASSERT_EQ(converted, IsSurrogate(code) ? Utf8Of(0xfffd) : Utf8Of(code))
            << std::hex << +code;
        ASSERT_EQ(converted, PlatformUtf8Of(wide)) << std::hex << +code;
        const std::string narrow = Utf8Of(code);
        const std::wstring back = ConvertUtf8ToUcs2(narrow);
        ASSERT_EQ(back, PlatformUtf16Of(narrow)) << std::hex << +code;
        ASSERT_EQ(back == wide, !IsSurrogate(code)) << std::hex << +code;
    }
}

TEST(Utf8, RoundTripsATextOfAllWellFormedCharacters) {
    std::wstring wide;
    std::string narrow;
    for (char32_t code = 0; code <= lastCodePoint; ++code)
        if (!IsSurrogate(code)) {
            wide += Utf16Of(code);
            narrow += Utf8Of(code);
        }
    EXPECT_TRUE(ConvertUcs2ToUtf8(wide) == narrow);
    EXPECT_TRUE(ConvertUtf8ToUcs2(narrow) == wide);
    EXPECT_TRUE(ConvertUtf8ToUcs2(ConvertUcs2ToUtf8(wide)) == wide);
}

// All pairs of units next to each boundary: pairs, halves alone, in the wrong order and doubled.
TEST(Utf8, ReplacesEachUnpairedSurrogate) {
    constexpr std::array<char32_t, 20> units = {
        0x0000, 0x0041, 0x007f, 0x0080, 0x07ff, 0x0800, 0xd7ff, 0xd800, 0xd801, 0xdbfe,
        0xdbff, 0xdc00, 0xdc01, 0xdffe, 0xdfff, 0xe000, 0xe001, 0xfffd, 0xfffe, 0xffff};
    const auto alone = [](char32_t unit) { return Utf8Of(IsSurrogate(unit) ? 0xfffd : unit); };
    for (const char32_t first : units)
        for (const char32_t second : units) {
            const std::wstring wide = {static_cast<wchar_t>(first), static_cast<wchar_t>(second)};
            const bool pair =
                first >= 0xd800 && first <= 0xdbff && second >= 0xdc00 && second <= 0xdfff;
            const std::string expected =
                pair ? Utf8Of(0x10000 + ((first - 0xd800) << 10) + (second - 0xdc00))
                     : alone(first) + alone(second);
            EXPECT_EQ(ConvertUcs2ToUtf8(wide), expected) << std::hex << +first << ' ' << +second;
            EXPECT_EQ(ConvertUcs2ToUtf8(wide), PlatformUtf8Of(wide));
        }
}

TEST(Utf8, ConvertsRandomUnitsAsThePlatformDoes) {
    constexpr std::uint32_t seed = 20240517;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    for (int round = 0; round != 50'000; ++round) {
        std::wstring wide(random() % 24 + 1, L'\0');
        for (wchar_t& unit : wide)
            unit = static_cast<wchar_t>(random() % 2 == 0 ? 0xd800 + random() % 0x800 : random());
        ASSERT_EQ(ConvertUcs2ToUtf8(wide), PlatformUtf8Of(wide)) << "round " << round;
    }
}

// Bytes of every kind that UTF-8 knows, in no order: truncated, overlong, stray and impossible
// sequences beside good ones.
TEST(Utf8, ReplacesMalformedBytesAsThePlatformDoes) {
    constexpr std::uint32_t seed = 20240518;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    int malformed = 0;
    for (int round = 0; round != 200'000; ++round) {
        std::string bytes(random() % 12 + 1, '\0');
        for (char& byte : bytes)
            switch (random() % 5) {
                case 0:
                    byte = static_cast<char>(random() % 0x80);
                    break;
                case 1:
                    byte = static_cast<char>(0x80 + random() % 0x40);
                    break;
                case 2:
                    byte = static_cast<char>(0xc0 + random() % 0x20);
                    break;
                case 3:
                    byte = static_cast<char>(0xe0 + random() % 0x10);
                    break;
                default:
                    byte = static_cast<char>(0xf0 + random() % 0x10);
                    break;
            }
        const std::wstring wide = ConvertUtf8ToUcs2(bytes);
        ASSERT_EQ(wide, PlatformUtf16Of(bytes)) << "round " << round;
        if (ConvertUcs2ToUtf8(wide) != bytes)
            ++malformed;
    }
    EXPECT_GT(malformed, 100'000);
}

TEST(Utf8, ReplacesAByteThatStandsAlone) {
    EXPECT_EQ(ConvertUtf8ToUcs2("a\x80z"), L"a\xfffdz");
    EXPECT_EQ(ConvertUtf8ToUcs2("a\xffz"), L"a\xfffdz");
    EXPECT_EQ(ConvertUtf8ToUcs2("a\xc3"), L"a\xfffd");
}

TEST(Utf8, ConvertsALongText) {
    const std::wstring wide(5'000'000, L'\u4e2d');
    const std::string narrow = ConvertUcs2ToUtf8(wide);
    EXPECT_EQ(narrow.size(), 15'000'000u);
    EXPECT_TRUE(ConvertUtf8ToUcs2(narrow) == wide);
}

} // namespace
