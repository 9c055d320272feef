#include "win32/path_name.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kq::win32::ReadPathName;

namespace {

constexpr char failure[] = "Failed to get path name";

// The platform's function: each call finds the next of the given paths (as if somebody changed the
// current folder meanwhile), and fails when there is none left.
struct Platform {
    std::vector<std::wstring> paths;
    std::vector<DWORD> capacities{};

    DWORD operator()(wchar_t* buffer, DWORD capacity) {
        const std::size_t call = capacities.size();
        capacities.push_back(capacity);
        if (call >= paths.size())
            return 0;
        const std::wstring& path = paths[call];
        if (path.size() >= capacity)
            return static_cast<DWORD>(path.size() + 1);
        std::copy_n(path.c_str(), path.size() + 1, buffer);
        return static_cast<DWORD>(path.size());
    }
};

using Capacities = std::vector<DWORD>;

std::wstring PathOf(std::size_t length) { return std::wstring(length - 1, L'p') + L'q'; }

TEST(ReadPathName, ReturnsAPathThatIsShorterThanTheBuffer) {
    for (const std::size_t length : {1u, 100u, 258u, 259u}) {
        Platform platform{{PathOf(length)}};
        EXPECT_EQ(ReadPathName(std::ref(platform)), PathOf(length));
        EXPECT_EQ(platform.capacities, Capacities{260});
    }
}

TEST(ReadPathName, AsksAgainWithTheLengthOfALongerPath) {
    for (const DWORD length : {260u, 261u, 519u, 520u, 521u, 32'767u}) {
        Platform platform{{PathOf(length), PathOf(length)}};
        EXPECT_EQ(ReadPathName(std::ref(platform)), PathOf(length));
        EXPECT_EQ(platform.capacities, (Capacities{260, length + 1}));
    }
}

TEST(ReadPathName, TakesAPathThatBecameShorter) {
    Platform platform{{PathOf(600), PathOf(10)}};
    EXPECT_EQ(ReadPathName(std::ref(platform)), PathOf(10));
}

TEST(ReadPathName, ThrowsWhenThePathBecameLonger) {
    Platform platform{{PathOf(600), PathOf(601)}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadPathName(std::ref(platform)); }), failure);
}

TEST(ReadPathName, ThrowsWhenTheFirstCallFails) {
    Platform platform{{}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadPathName(std::ref(platform)); }), failure);
    EXPECT_EQ(platform.capacities.size(), 1u);
}

TEST(ReadPathName, ThrowsWhenTheSecondCallFails) {
    Platform platform{{PathOf(600)}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadPathName(std::ref(platform)); }), failure);
    EXPECT_EQ(platform.capacities.size(), 2u);
}

TEST(ReadPathName, EndsAtTheFirstZero) {
    const std::wstring path = ReadPathName([](wchar_t* buffer, DWORD) {
        std::copy_n(L"ab\0cd", 6, buffer);
        return DWORD{5};
    });
    EXPECT_EQ(path, L"ab");
}

TEST(ReadPathName, StaysWithinABufferWithoutAZero) {
    int calls = 0;
    const std::wstring path = ReadPathName([&](wchar_t* buffer, DWORD capacity) {
        ++calls;
        std::fill_n(buffer, capacity, L'p');
        return capacity;
    });
    EXPECT_EQ(path, std::wstring(260, L'p'));
    EXPECT_EQ(calls, 1);
}

TEST(ReadPathName, TakesASecondResultAsGreatAsTheFirst) {
    const std::wstring path = ReadPathName([](wchar_t* buffer, DWORD capacity) {
        std::fill_n(buffer, capacity, L'p');
        return DWORD{300};
    });
    EXPECT_EQ(path, std::wstring(300, L'p'));
}

} // namespace
