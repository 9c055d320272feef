#include "win32/temp_path.h"

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kq::win32::ReadTempPath;

namespace {

constexpr char failure[] = "Could not get system temp path";

// Fills the buffer and answers the calls in turn.
struct Platform {
    std::vector<DWORD> answers;
    std::vector<DWORD> capacities{};

    DWORD operator()(DWORD capacity, wchar_t* buffer) {
        const std::size_t call = capacities.size();
        capacities.push_back(capacity);
        if (buffer != nullptr)
            std::fill_n(buffer, capacity, L't');
        return answers.at(call);
    }
};

using Capacities = std::vector<DWORD>;

TEST(ReadTempPath, AsksForTheLengthAndThenForThePath) {
    Platform platform{{8, 7}};
    EXPECT_EQ(ReadTempPath(std::ref(platform)), L"ttttttt");
    EXPECT_EQ(platform.capacities, (Capacities{0, 9}));
}

TEST(ReadTempPath, TakesPathsOfAnyLength) {
    for (const DWORD length : {1u, 259u, 260u, 261u, 520u, 521u, 32'767u}) {
        Platform platform{{length + 1, length}};
        EXPECT_EQ(ReadTempPath(std::ref(platform)), std::wstring(length, L't'));
    }
}

TEST(ReadTempPath, TakesAPathThatFillsTheBuffer) {
    Platform platform{{8, 8}};
    EXPECT_EQ(ReadTempPath(std::ref(platform)), L"tttttttt");
}

TEST(ReadTempPath, ThrowsWhenThePathBecameLonger) {
    for (const DWORD second : {9u, 10u, 1000u}) {
        Platform platform{{8, second}};
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadTempPath(std::ref(platform)); }),
                  failure);
    }
}

TEST(ReadTempPath, ThrowsWhenACallFails) {
    Platform first{{0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadTempPath(std::ref(first)); }), failure);
    Platform second{{8, 0}};
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ReadTempPath(std::ref(second)); }), failure);
}

} // namespace
