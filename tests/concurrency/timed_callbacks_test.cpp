// What a callback, its copies and their destructors may do.
#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::OnDestruction;
using kq_test::ReturnsInTime;
using namespace std::chrono_literals;

namespace {

/// Calls an action whenever it is copied.
class CopyWatcher {
public:
    explicit CopyWatcher(std::function<void()> onCopy) : onCopy_(std::move(onCopy)) {}
    CopyWatcher(const CopyWatcher& other) : onCopy_(other.onCopy_) { onCopy_(); }
    CopyWatcher(CopyWatcher&&) = default;
    CopyWatcher& operator=(const CopyWatcher&) = delete;
    ~CopyWatcher() = default;

    void operator()(const TimedJobTicket& /*ticket*/) const {}

private:
    std::function<void()> onCopy_;
};

class TimedCallbacks : public kq_test::TimedJobsOnManualClock {
protected:
    static void DoNothing(const TimedJobTicket& /*ticket*/) {}

    /// Uses every operation of the scheduler, each of which takes its lock.
    void UseScheduler() {
        const TimedJobTicket ticket = scheduler->Register(DoNothing, 1h, false);
        EXPECT_TRUE(scheduler->IsIdle(ticket));
        EXPECT_TRUE(scheduler->Unregister(ticket));
        uses.Add();
    }

    /// A callback whose end uses the scheduler.
    Callback UsingAtItsEnd() {
        return [token = OnDestruction([this] { UseScheduler(); })](const TimedJobTicket&) {};
    }

    Counter uses;
};

TEST_F(TimedCallbacks, GetTheirIdAndNeverTheMarkOfRepetition) {
    for (const bool repeat : {false, true}) {
        TimedJobTicket given;
        Event hasRun;
        const TimedJobTicket ticket = Register(
            [&](const TimedJobTicket& own) {
                given = own;
                hasRun.Set();
            },
            0ms, repeat);
        hasRun.Wait();
        scheduler->Unregister(ticket);
        AwaitRuns();
        EXPECT_EQ(given->id, ticket->id);
        EXPECT_FALSE(given->repeat);
        EXPECT_EQ(ticket->repeat, repeat);
    }
}

TEST_F(TimedCallbacks, MayEndTheirOwnRepetition) {
    Counter runs;
    Event unregistered;
    const TimedJobTicket ticket = Repeat(100ms, [&](const TimedJobTicket& own) {
        EXPECT_FALSE(scheduler->IsIdle(own));
        runs.Add();
        if (runs.Value() == 3) {
            EXPECT_TRUE(scheduler->Unregister(own));
            EXPECT_FALSE(scheduler->Unregister(own));
            unregistered.Set();
        }
    });
    for (std::size_t round = 1; round != 4; ++round) {
        AwaitSleepUntil(round * 100ms);
        clock.Advance(100ms);
        runs.WaitFor(round);
        AwaitRuns();
    }
    unregistered.Wait();
    AwaitNoLoop();
    clock.Advance(1h);
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 3u);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EndTimedJobs();
}

TEST_F(TimedCallbacks, MayUnregisterOthers) {
    Counter runs;
    const TimedJobTicket other = Repeat(100ms, Counting(runs));
    Once(0ms, [&](const TimedJobTicket&) { EXPECT_TRUE(scheduler->Unregister(other)); });
    AwaitNoLoop();
    clock.Advance(1h);
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 0u);
    EndTimedJobs();
}

TEST_F(TimedCallbacks, MayRegisterOthers) {
    // Each starts the next one, so that the loop ends and begins as it likes.
    Counter runs;
    Callback next = [&](const TimedJobTicket&) {
        runs.Add();
        if (runs.Value() < 100)
            Once(0ms, next);
    };
    Once(0ms, next);
    runs.WaitFor(100);
    AwaitNoLoop();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 100u);
    EXPECT_LE(loopPool->ThreadCount(), 10u);
    EndTimedJobs();
}

TEST_F(TimedCallbacks, MayEndTheScheduler) {
    Event ended;
    Repeat(0ms, [&](const TimedJobTicket&) {
        scheduler.reset();
        ended.Set();
    });
    ended.Wait();
    AwaitNoLoop();
    EndTimedJobs();
}

TEST_F(TimedCallbacks, MayEndTheSchedulerWhoseLoopSleeps) {
    Event ended;
    Repeat(1h, DoNothing);
    Once(100ms, [&](const TimedJobTicket&) {
        AwaitSleepUntil(100ms + 1h + 100ms);
        scheduler.reset();
        ended.Set();
    });
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    ended.Wait();
    AwaitNoLoop();
    EndTimedJobs();
}

TEST_F(TimedCallbacks, AreNotCopiedUnderTheLock) {
    ReturnsInTime("copies that use the scheduler", [&] {
        const Callback callback = CopyWatcher([this] { UseScheduler(); });
        const TimedJobTicket ticket = Repeat(100ms, callback);
        AwaitSleepUntil(100ms);
        clock.Advance(100ms);
        AwaitSleepUntil(200ms);
        AwaitRuns();
        EXPECT_TRUE(scheduler->Unregister(ticket));
    });
    EXPECT_GE(uses.Value(), 1u);
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockWhenUnregistered) {
    ReturnsInTime("the destruction of a callback",
                  [&] { EXPECT_TRUE(scheduler->Unregister(Repeat(100ms, UsingAtItsEnd()))); });
    EXPECT_EQ(uses.Value(), 1u);
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockWithTheRunThatWasUnregistered) {
    Event begun, release;
    const CJobTicket occupying = jobQueue->Queue([&] {
        begun.Set();
        release.Wait();
    });
    begun.Wait();
    const TimedJobTicket ticket = Repeat(100ms, UsingAtItsEnd());
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    ReturnsInTime("the destruction of a callback",
                  [&] { EXPECT_TRUE(scheduler->Unregister(ticket)); });
    EXPECT_EQ(uses.Value(), 1u);
    release.Set();
    occupying.Wait();
    EndTimedJobs();
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockAfterTheirOnlyRun) {
    for (std::size_t round = 1; round != 50; ++round) {
        Once(0ms, UsingAtItsEnd());
        uses.WaitFor(round, "the destruction of a callback");
    }
    EndTimedJobs();
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockWhenTheirRunEndsAfterTheirRegistration) {
    for (std::size_t round = 1; round != 50; ++round) {
        Event begun, mayEnd;
        const TimedJobTicket ticket = Repeat(
            0ms, [&, token = OnDestruction([this] { UseScheduler(); })](const TimedJobTicket&) {
                begun.Set();
                mayEnd.Wait();
            });
        begun.Wait();
        EXPECT_TRUE(scheduler->Unregister(ticket));
        EXPECT_EQ(uses.Value(), round - 1);
        mayEnd.Set();
        uses.WaitFor(round, "the destruction of a callback");
    }
    EndTimedJobs();
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockWhenTheirLoopFindsNoThread) {
    allowLoopThread = [](std::size_t call) { return call != 1; };
    ReturnsInTime("the destruction of a callback",
                  [&] { EXPECT_THROW(Repeat(100ms, UsingAtItsEnd()), std::runtime_error); });
    EXPECT_EQ(uses.Value(), 1u);
}

TEST_F(TimedCallbacks, AreNotDestroyedUnderTheLockWithTheScheduler) {
    Counter ended;
    // The loop shares the state that is cleared; when it wakes it needs the lock.
    scheduler->Register([token = OnDestruction([&] {
                             clock.AwaitWaiters(0);
                             ended.Add();
                         })](const TimedJobTicket&) {},
                        1h, true);
    AwaitSleepUntil(1h);
    ReturnsInTime("the end of a scheduler", [&] { scheduler.reset(); });
    EXPECT_EQ(ended.Value(), 1u);
    EndTimedJobs();
}

TEST_F(TimedCallbacks, AreKeptAsLongAsTheyMayRun) {
    const auto token = std::make_shared<int>(0);
    const TimedJobTicket ticket = Repeat(1h, [token](const TimedJobTicket&) {});
    EXPECT_EQ(token.use_count(), 2);
    scheduler->Unregister(ticket);
    EXPECT_EQ(token.use_count(), 1);
    Repeat(1h, [token](const TimedJobTicket&) {});
    EXPECT_EQ(token.use_count(), 2);
    scheduler.reset();
    EXPECT_EQ(token.use_count(), 1);
}

} // namespace
