#include <windows.h>

#include <kq/win32/environment.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <string>

using kq::win32::ReplaceEnvironmentVariables;

namespace {

constexpr char failure[] = "Failed to expand environment strings!";
constexpr std::size_t longest = 32'766;

// An environment variable of this process for a scope.
class Variable {
public:
    Variable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name_, value.c_str());
    }
    ~Variable() { SetEnvironmentVariableW(name_, nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const wchar_t* name_;
};

TEST(ReplaceEnvironmentVariables, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(ReplaceEnvironmentVariables(L""), L"");
}

TEST(ReplaceEnvironmentVariables, ReturnsATextWithoutPercentSignUnchanged) {
    EXPECT_EQ(ReplaceEnvironmentVariables(L"plain text \u4e2d"), L"plain text \u4e2d");
    EXPECT_EQ(ReplaceEnvironmentVariables(std::wstring(L"a\0b", 3)), std::wstring(L"a\0b", 3));
    const std::wstring longText(100'000, L'x');
    EXPECT_TRUE(ReplaceEnvironmentVariables(longText) == longText);
}

TEST(ReplaceEnvironmentVariables, ReplacesEveryReference) {
    const Variable first(L"KQ_TEST_FIRST", L"one");
    const Variable second(L"KQ_TEST_SECOND", L"\u4e8c two");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"<%KQ_TEST_FIRST%|%KQ_TEST_SECOND%|%KQ_TEST_FIRST%>"),
              L"<one|\u4e8c two|one>");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"%kq_test_first%"), L"one");
}

TEST(ReplaceEnvironmentVariables, LeavesReferencesToUnknownVariablesAsWritten) {
    const Variable known(L"KQ_TEST_FIRST", L"one");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"%KQ_TEST_NO_SUCH%"), L"%KQ_TEST_NO_SUCH%");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"%KQ_TEST_NO_SUCH% %KQ_TEST_FIRST%"),
              L"%KQ_TEST_NO_SUCH% one");
}

TEST(ReplaceEnvironmentVariables, LeavesASinglePercentSign) {
    EXPECT_EQ(ReplaceEnvironmentVariables(L"100%"), L"100%");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"%"), L"%");
}

TEST(ReplaceEnvironmentVariables, DoesNotExpandTheValues) {
    const Variable first(L"KQ_TEST_FIRST", L"%KQ_TEST_SECOND%");
    const Variable second(L"KQ_TEST_SECOND", L"two");
    EXPECT_EQ(ReplaceEnvironmentVariables(L"%KQ_TEST_FIRST%"), L"%KQ_TEST_SECOND%");
}

TEST(ReplaceEnvironmentVariables, TakesTextsUpToThePlatformsLimitAndRefusesLongerOnes) {
    for (const std::size_t length : {longest - 1, longest}) {
        const std::wstring text = L'%' + std::wstring(length - 1, L'x');
        EXPECT_TRUE(ReplaceEnvironmentVariables(text) == text) << length;
    }
    for (const std::size_t length : {longest + 1, longest + 2, std::size_t{65'536 + 3}}) {
        const std::wstring text = L'%' + std::wstring(length - 1, L'x');
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReplaceEnvironmentVariables(text); }),
                  failure)
            << length;
    }
}

TEST(ReplaceEnvironmentVariables, GivesTextsUpToThePlatformsLimitAndRefusesLongerOnes) {
    const std::wstring value(10'000, L'v');
    const Variable variable(L"KQ_TEST_FIRST", value);
    const std::wstring references = L"%KQ_TEST_FIRST%%KQ_TEST_FIRST%%KQ_TEST_FIRST%";
    const std::wstring whole = value + value + value;
    for (const std::size_t length : {longest - 1, longest}) {
        const std::wstring rest(length - whole.size(), L'r');
        EXPECT_TRUE(ReplaceEnvironmentVariables(references + rest) == whole + rest) << length;
    }
    for (const std::size_t length : {longest + 1, longest + 2, longest + 1000}) {
        const std::wstring rest(length - whole.size(), L'r');
        EXPECT_EQ(
            ThrownText<std::runtime_error>([&] { ReplaceEnvironmentVariables(references + rest); }),
            failure)
            << length;
    }
}

} // namespace
