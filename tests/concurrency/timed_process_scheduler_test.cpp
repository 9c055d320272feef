// The scheduler of the process, through the library as a host meets it, on the real clock.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <type_traits>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::OnDestruction;
using namespace std::chrono_literals;

namespace {

class ProcessScheduler : public testing::Test {
protected:
    ~ProcessScheduler() override { StartupJobScheduler(); }

    static void DoNothing(const TimedJobTicket& /*ticket*/) {}
};

TEST_F(ProcessScheduler, IsThereOnceTheLibraryIsLoaded) {
    EXPECT_TRUE(HasTimedJobScheduler());
    static_assert(std::is_abstract_v<ITimedJobScheduler>);
    static_assert(std::has_virtual_destructor_v<ITimedJobScheduler>);
}

TEST_F(ProcessScheduler, IsGoneAfterItsShutdown) {
    ShutdownJobScheduler();
    EXPECT_FALSE(HasTimedJobScheduler());
    ShutdownJobScheduler();
    EXPECT_FALSE(HasTimedJobScheduler());
    StartupJobScheduler();
    EXPECT_TRUE(HasTimedJobScheduler());
}

TEST_F(ProcessScheduler, ANewOneKnowsNothingOfTheOldOnesJobs) {
    const TimedJobTicket ticket = GetTimedJobScheduler().Register(DoNothing, 1h, true);
    EXPECT_TRUE(GetTimedJobScheduler().IsIdle(ticket));
    StartupJobScheduler();
    EXPECT_FALSE(GetTimedJobScheduler().IsIdle(ticket));
    EXPECT_FALSE(GetTimedJobScheduler().Unregister(ticket));
    EXPECT_EQ(GetTimedJobScheduler().Register(DoNothing, 1h, true)->id, ticket->id + 1);
}

TEST_F(ProcessScheduler, IsDestroyedAfterItsReplacementCanBeReached) {
    ITimedJobScheduler* const before = &GetTimedJobScheduler();
    TimedJobTicket late;
    before->Register([token = OnDestruction([&] {
                          EXPECT_NE(&GetTimedJobScheduler(), before);
                          late = GetTimedJobScheduler().Register(DoNothing, 1h, true);
                      })](const TimedJobTicket&) {},
                     1h, true);
    StartupJobScheduler();
    ASSERT_NE(late, nullptr);
    EXPECT_TRUE(GetTimedJobScheduler().IsIdle(late));
}

TEST_F(ProcessScheduler, IsClearedBeforeItIsDestroyed) {
    bool wasThere = true;
    GetTimedJobScheduler().Register([token = OnDestruction([&] {
                                         wasThere = HasTimedJobScheduler();
                                     })](const TimedJobTicket&) {},
                                    1h, true);
    ShutdownJobScheduler();
    EXPECT_FALSE(wasThere);
}

TEST_F(ProcessScheduler, MayBeShutDownByACallback) {
    for (int round = 0; round != 100; ++round) {
        Event ended;
        for (int other = 0; other != 3; ++other)
            GetTimedJobScheduler().Register(DoNothing, 1ms, true);
        GetTimedJobScheduler().Register(
            [&](const TimedJobTicket&) {
                ShutdownJobScheduler();
                ended.Set();
            },
            1ms, false);
        ended.Wait();
        EXPECT_FALSE(HasTimedJobScheduler());
        StartupJobScheduler();
    }
}

TEST_F(ProcessScheduler, RunsAJobOnceAndNeverTooEarly) {
    Counter runs;
    std::chrono::steady_clock::time_point ran;
    const auto registered = std::chrono::steady_clock::now();
    const TimedJobTicket ticket = GetTimedJobScheduler().Register(
        [&](const TimedJobTicket&) {
            ran = std::chrono::steady_clock::now();
            runs.Add();
        },
        100ms, false);
    runs.WaitFor(1);
    EXPECT_GE(ran - registered, 100ms);
    EXPECT_FALSE(GetTimedJobScheduler().IsIdle(ticket));
    EXPECT_FALSE(GetTimedJobScheduler().Unregister(ticket));
}

TEST_F(ProcessScheduler, RunsARepeatingJobAtItsIntervalAtMost) {
    Counter runs;
    std::chrono::steady_clock::time_point fifth;
    const auto registered = std::chrono::steady_clock::now();
    const TimedJobTicket ticket = GetTimedJobScheduler().Register(
        [&](const TimedJobTicket&) {
            if (runs.Value() == 4)
                fifth = std::chrono::steady_clock::now();
            runs.Add();
        },
        20ms, true);
    runs.WaitFor(5);
    GetTimedJobScheduler().Unregister(ticket);
    // The interval counts from one queueing of a run to the next, so the n-th begins after n of
    // them, however late each was.
    EXPECT_GE(fifth - registered, 5 * 20ms);
}

TEST_F(ProcessScheduler, UsesOneThreadOfThePoolWhileTimedJobsAreRegistered) {
    for (int pair = 0; pair != 400; ++pair)
        GetTimedJobScheduler().Unregister(GetTimedJobScheduler().Register(DoNothing, 1h, true));
    EXPECT_LE(threadPool->ThreadCount(), 16u);
}

} // namespace
