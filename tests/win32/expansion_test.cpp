#include "win32/expansion.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kq::win32::ExpandReferences;

namespace {

constexpr char failure[] = "Failed to expand environment strings!";
constexpr DWORD longest = 32'766;

// Fills the buffer and answers the calls in turn.
struct Platform {
    std::vector<DWORD> answers;
    std::vector<DWORD> capacities{};

    DWORD operator()(const wchar_t*, wchar_t* buffer, DWORD capacity) {
        const std::size_t call = capacities.size();
        capacities.push_back(capacity);
        if (buffer != nullptr)
            std::fill_n(buffer, capacity, L'e');
        return answers.at(call);
    }
};

using Capacities = std::vector<DWORD>;

TEST(ExpandReferences, ReturnsTextsWithoutPercentSignWithoutACall) {
    for (const std::wstring& text :
         {std::wstring(), std::wstring(L"plain"), std::wstring(L"a\0b", 3),
          std::wstring(longest + 1, L'x'), std::wstring(100'000, L'x')}) {
        Platform platform{{}};
        EXPECT_TRUE(ExpandReferences(text, std::ref(platform)) == text);
        EXPECT_TRUE(platform.capacities.empty());
    }
}

TEST(ExpandReferences, AsksForTheLengthAndThenExpands) {
    Platform platform{{4, 4}};
    EXPECT_EQ(ExpandReferences(L"%A%", std::ref(platform)), L"eee");
    EXPECT_EQ(platform.capacities, (Capacities{0, 4}));
}

TEST(ExpandReferences, MayGiveAnEmptyText) {
    Platform platform{{1, 1}};
    EXPECT_EQ(ExpandReferences(L"%A%", std::ref(platform)), L"");
}

TEST(ExpandReferences, TakesTextsUpToThePlatformsLimit) {
    Platform platform{{2, 2}};
    EXPECT_EQ(ExpandReferences(std::wstring(longest, L'%'), std::ref(platform)), L"e");
    Platform refusing{{2, 2}};
    EXPECT_EQ(ThrownText<std::runtime_error>(
                  [&] { ExpandReferences(std::wstring(longest + 1, L'%'), std::ref(refusing)); }),
              failure);
    EXPECT_TRUE(refusing.capacities.empty());
}

TEST(ExpandReferences, GivesTextsUpToThePlatformsLimit) {
    Platform platform{{longest + 1, longest + 1}};
    EXPECT_EQ(ExpandReferences(L"%A%", std::ref(platform)).size(), longest);
    Platform refusing{{longest + 2, longest + 2}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ExpandReferences(L"%A%", std::ref(refusing)); }),
              failure);
    EXPECT_EQ(refusing.capacities.size(), 1u);
}

TEST(ExpandReferences, RefusesAZeroInTheTextWithoutACall) {
    for (const std::wstring& text : {std::wstring(L"%A%\0", 4), std::wstring(L"\0%A%", 4)}) {
        Platform platform{{2, 2}};
        EXPECT_EQ(
            ThrownText<std::runtime_error>([&] { ExpandReferences(text, std::ref(platform)); }),
            failure);
        EXPECT_TRUE(platform.capacities.empty());
    }
}

TEST(ExpandReferences, ThrowsWhenTheEnvironmentChangesMeanwhile) {
    for (const DWORD second : {3u, 5u}) {
        Platform platform{{4, second}};
        EXPECT_EQ(
            ThrownText<std::runtime_error>([&] { ExpandReferences(L"%A%", std::ref(platform)); }),
            failure);
    }
}

TEST(ExpandReferences, ThrowsWhenACallFails) {
    Platform first{{0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ExpandReferences(L"%A%", std::ref(first)); }),
              failure);
    Platform second{{4, 0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ExpandReferences(L"%A%", std::ref(second)); }),
              failure);
}

} // namespace
