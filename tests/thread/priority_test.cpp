#include <windows.h>

#include <kq/thread/priority.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <thread>
#include <type_traits>

using thread::CPriority;

namespace {

int CurrentPriority() { return GetThreadPriority(GetCurrentThread()); }

TEST(Priority, EachLevelSetsItsPriorityAndReadsBack) {
    const struct {
        int value;
        CPriority::definition level;
        int priority;
    } expectations[] = {{0, CPriority::TimeCritical, 15}, {1, CPriority::Highest, 2},
                        {2, CPriority::AboveNormal, 1},   {3, CPriority::Normal, 0},
                        {4, CPriority::BelowNormal, -1},  {5, CPriority::Lowest, -2},
                        {6, CPriority::Idle, -15}};
    for (const auto& expected : expectations) {
        EXPECT_EQ(expected.level, expected.value);
        const CPriority scope(expected.level);
        EXPECT_EQ(CurrentPriority(), expected.priority) << expected.value;
        EXPECT_EQ(CPriority::Current(), expected.level) << expected.value;
    }
}

TEST(Priority, IsRestoredAtTheEndOfTheScope) {
    ASSERT_EQ(CPriority::Current(), CPriority::Normal);
    {
        const CPriority scope(CPriority::Idle);
        EXPECT_EQ(CPriority::Current(), CPriority::Idle);
    }
    EXPECT_EQ(CPriority::Current(), CPriority::Normal);
}

TEST(Priority, NestedScopesRestoreTheOneAround) {
    const CPriority outer(CPriority::BelowNormal);
    {
        const CPriority inner(CPriority::Highest);
        EXPECT_EQ(CPriority::Current(), CPriority::Highest);
    }
    EXPECT_EQ(CPriority::Current(), CPriority::BelowNormal);
}

TEST(Priority, ALevelOutOfRangeSetsTheNormalPriority) {
    for (const int value : {-1, 7, 15, INT_MIN, INT_MAX}) {
        const CPriority outer(CPriority::Lowest);
        const CPriority scope(static_cast<CPriority::definition>(value));
        EXPECT_EQ(CurrentPriority(), 0) << value;
    }
}

TEST(Priority, OfOtherThreadsIsLeftAlone) {
    const CPriority scope(CPriority::Lowest);
    std::thread([] {
        EXPECT_EQ(CPriority::Current(), CPriority::Normal);
        const CPriority own(CPriority::Highest);
        EXPECT_EQ(CPriority::Current(), CPriority::Highest);
    }).join();
    EXPECT_EQ(CPriority::Current(), CPriority::Lowest);
}

TEST(Priority, IsSetAgainOnTheThreadThatEndsTheScope) {
    auto scope = std::make_unique<CPriority>(CPriority::Lowest);
    std::thread([&] {
        const CPriority own(CPriority::Highest);
        scope.reset();
        EXPECT_EQ(CPriority::Current(), CPriority::Normal);
    }).join();
    EXPECT_EQ(CPriority::Current(), CPriority::Lowest);
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_NORMAL);
}

// Only the real-time class knows priorities between the levels.
TEST(Priority, BetweenTheLevelsCountsAsNormal) {
    const DWORD before = GetPriorityClass(GetCurrentProcess());
    SetPriorityClass(GetCurrentProcess(), REALTIME_PRIORITY_CLASS);
    const BOOL accepted = SetThreadPriority(GetCurrentThread(), 3);
    const CPriority::definition level = CPriority::Current();
    const int priority = CurrentPriority();
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_NORMAL);
    SetPriorityClass(GetCurrentProcess(), before);
    if (!accepted)
        GTEST_SKIP() << "the system gives this process no real-time priorities";
    EXPECT_EQ(priority, 3);
    EXPECT_EQ(level, CPriority::Normal);
}

TEST(Priority, ScopesAreNotCopyable) {
    static_assert(!std::is_copy_constructible_v<CPriority>);
    static_assert(!std::is_copy_assignable_v<CPriority>);
    static_assert(sizeof(CPriority) == sizeof(void*));
}

} // namespace
