// Leaves something behind each time.
#include <windows.h>

#include <gtest/gtest.h>

namespace {

constexpr SIZE_T mebibyte = 1 << 20;

TEST(LeakingProgram, LosesAHandle) {
    EXPECT_NE(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
}

TEST(LeakingProgram, LosesABlock) { EXPECT_NE(HeapAlloc(GetProcessHeap(), 0, 1), nullptr); }

TEST(LeakingProgram, LosesPages) {
    EXPECT_NE(VirtualAlloc(nullptr, mebibyte, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE), nullptr);
}

} // namespace
