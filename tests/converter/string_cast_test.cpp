#include <kq/converter/string_cast.h>

#include <gtest/gtest.h>

#include <locale>
#include <string>
#include <type_traits>

using kq::converter::StringCast;

namespace {

// Upper-case letters instead of the characters, so that a use of the locale shows.
class ShoutingCharacters : public std::ctype<wchar_t> {
protected:
    wchar_t do_widen(char character) const override {
        return static_cast<wchar_t>(character - 'a' + L'A');
    }
    const char* do_widen(const char* from, const char* end, wchar_t* to) const override {
        for (; from != end; ++from)
            *to++ = do_widen(*from);
        return end;
    }
    char do_narrow(wchar_t character, char replacement) const override {
        return character == L'\u4e2d' ? replacement : static_cast<char>(character - L'a' + 'A');
    }
    const wchar_t* do_narrow(const wchar_t* from, const wchar_t* end, char replacement,
                             char* to) const override {
        for (; from != end; ++from)
            *to++ = do_narrow(*from, replacement);
        return end;
    }
};

std::locale Shouting() { return std::locale(std::locale::classic(), new ShoutingCharacters); }

// Makes a locale the global one for a scope.
class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : previous_(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(previous_); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale previous_;
};

TEST(StringCast, CastsAllTwelvePairsWithAndWithoutALocale) {
    char narrowArray[] = "text";
    wchar_t wideArray[] = L"text";
    char* const narrow = narrowArray;
    const char* const constantNarrow = narrowArray;
    wchar_t* const wide = wideArray;
    const wchar_t* const constantWide = wideArray;
    const std::string narrowString = narrow;
    const std::wstring wideString = wide;
    const std::locale classic = std::locale::classic();

    EXPECT_EQ((StringCast<std::string, char*>(narrow)), "text");
    EXPECT_EQ((StringCast<std::string, const char*>(constantNarrow)), "text");
    EXPECT_EQ((StringCast<std::string, wchar_t*>(wide)), "text");
    EXPECT_EQ((StringCast<std::string, const wchar_t*>(constantWide)), "text");
    EXPECT_EQ((StringCast<std::string, std::string>(narrowString)), "text");
    EXPECT_EQ((StringCast<std::string, std::wstring>(wideString)), "text");
    EXPECT_EQ((StringCast<std::wstring, char*>(narrow)), L"text");
    EXPECT_EQ((StringCast<std::wstring, const char*>(constantNarrow)), L"text");
    EXPECT_EQ((StringCast<std::wstring, wchar_t*>(wide)), L"text");
    EXPECT_EQ((StringCast<std::wstring, const wchar_t*>(constantWide)), L"text");
    EXPECT_EQ((StringCast<std::wstring, std::string>(narrowString)), L"text");
    EXPECT_EQ((StringCast<std::wstring, std::wstring>(wideString)), L"text");

    EXPECT_EQ((StringCast<std::string, char*>(narrow, classic)), "text");
    EXPECT_EQ((StringCast<std::string, const char*>(constantNarrow, classic)), "text");
    EXPECT_EQ((StringCast<std::string, wchar_t*>(wide, classic)), "text");
    EXPECT_EQ((StringCast<std::string, const wchar_t*>(constantWide, classic)), "text");
    EXPECT_EQ((StringCast<std::string, std::string>(narrowString, classic)), "text");
    EXPECT_EQ((StringCast<std::string, std::wstring>(wideString, classic)), "text");
    EXPECT_EQ((StringCast<std::wstring, char*>(narrow, classic)), L"text");
    EXPECT_EQ((StringCast<std::wstring, const char*>(constantNarrow, classic)), L"text");
    EXPECT_EQ((StringCast<std::wstring, wchar_t*>(wide, classic)), L"text");
    EXPECT_EQ((StringCast<std::wstring, const wchar_t*>(constantWide, classic)), L"text");
    EXPECT_EQ((StringCast<std::wstring, std::string>(narrowString, classic)), L"text");
    EXPECT_EQ((StringCast<std::wstring, std::wstring>(wideString, classic)), L"text");
}

TEST(StringCast, ReturnsExactlyTheTypeAskedFor) {
    static_assert(std::is_same_v<decltype(StringCast<std::wstring>("text")), std::wstring>);
    static_assert(std::is_same_v<decltype(StringCast<std::string>(L"text")), std::string>);
}

TEST(StringCast, TakesLiterals) {
    EXPECT_EQ(StringCast<std::wstring>("literal"), L"literal");
    EXPECT_EQ(StringCast<std::string>(L"literal"), "literal");
    EXPECT_EQ(StringCast<std::string>("literal"), "literal");
    EXPECT_EQ(StringCast<std::wstring>(L"literal"), L"literal");
    EXPECT_EQ(StringCast<std::wstring>("literal", std::locale::classic()), L"literal");
}

TEST(StringCast, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(StringCast<std::wstring>(""), L"");
    EXPECT_EQ(StringCast<std::string>(L""), "");
    EXPECT_EQ(StringCast<std::wstring>(std::string()), L"");
    EXPECT_EQ(StringCast<std::string>(std::wstring()), "");
}

TEST(StringCast, KeepsTheZerosInAString) {
    const std::string narrow("a\0b\0", 4);
    const std::wstring wide(L"a\0b\0", 4);
    EXPECT_EQ(StringCast<std::wstring>(narrow), wide);
    EXPECT_EQ(StringCast<std::string>(wide), narrow);
    EXPECT_EQ(StringCast<std::string>(narrow), narrow);
    EXPECT_EQ(StringCast<std::wstring>(wide), wide);
}

TEST(StringCast, EndsPointersAndArraysAtTheFirstZero) {
    const char array[] = "a\0b";
    const wchar_t* const pointer = L"a\0b";
    EXPECT_EQ(StringCast<std::wstring>(array), L"a");
    EXPECT_EQ(StringCast<std::string>(array), "a");
    EXPECT_EQ(StringCast<std::string>(pointer), "a");
    EXPECT_EQ(StringCast<std::wstring>(pointer), L"a");
}

TEST(StringCast, GivesAQuestionMarkForACharacterWithoutNarrowForm) {
    EXPECT_EQ(StringCast<std::string>(L"a\u4e2db"), "a?b");
    EXPECT_EQ(StringCast<std::string>(L"a\u4e2db", std::locale::classic()), "a?b");
}

TEST(StringCast, GivesAQuestionMarkForEachHalfOfASurrogatePair) {
    EXPECT_EQ(StringCast<std::string>(L"a\xd83d\xde00z"), "a??z");
}

TEST(StringCast, CastsEveryCharacterAsTheLocaleCastsIt) {
    const std::locale locale = std::locale::classic();
    const auto& characters = std::use_facet<std::ctype<wchar_t>>(locale);
    std::string narrow;
    std::wstring widened;
    for (int code = 0; code != 256; ++code) {
        narrow += static_cast<char>(code);
        widened += characters.widen(static_cast<char>(code));
    }
    EXPECT_EQ(StringCast<std::wstring>(narrow, locale), widened);

    std::wstring wide;
    std::string narrowed;
    for (unsigned code = 0; code != 0x10000; ++code) {
        wide += static_cast<wchar_t>(code);
        narrowed += characters.narrow(static_cast<wchar_t>(code), '?');
    }
    EXPECT_EQ(StringCast<std::string>(wide, locale), narrowed);
}

TEST(StringCast, UsesTheGivenLocaleBetweenDifferentWidthsOnly) {
    const std::locale shouting = Shouting();
    EXPECT_EQ(StringCast<std::wstring>("text", shouting), L"TEXT");
    EXPECT_EQ(StringCast<std::string>(L"te\u4e2dxt", shouting), "TE?XT");
    EXPECT_EQ(StringCast<std::string>("text", shouting), "text");
    EXPECT_EQ(StringCast<std::wstring>(L"text", shouting), L"text");
}

TEST(StringCast, ReadsTheGlobalLocaleAtEachCall) {
    EXPECT_EQ(StringCast<std::wstring>("text"), L"text");
    {
        const GlobalLocale global(Shouting());
        EXPECT_EQ(StringCast<std::wstring>("text"), L"TEXT");
        EXPECT_EQ(StringCast<std::string>(L"text"), "TEXT");
        EXPECT_EQ(StringCast<std::wstring>("text", std::locale::classic()), L"text");
    }
    EXPECT_EQ(StringCast<std::wstring>("text"), L"text");
}

} // namespace
