// Registering, unregistering, and asking.
#include "concurrency/job_state.h"
#include "support/hand_shake.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using namespace std::chrono_literals;

namespace {

class TimedRegister : public kq_test::TimedJobsOnManualClock {
protected:
    /// Occupies the queue, which runs one job at once, until it is released.
    void OccupyQueue() {
        Event begun;
        occupying = jobQueue->Queue([&begun, this] {
            begun.Set();
            release.Wait();
        });
        begun.Wait();
    }
    void ReleaseQueue() {
        release.Set();
        occupying.Wait();
    }

    Event release;
    CJobTicket occupying;
};

TEST_F(TimedRegister, TicketsSayWhatWasRegistered) {
    Counter runs;
    const TimedJobTicket once = Once(1h, Counting(runs));
    const TimedJobTicket repeated = Repeat(1h, Counting(runs));
    EXPECT_FALSE(once->repeat);
    EXPECT_TRUE(repeated->repeat);
    EXPECT_GT(once->id, 0);
    EXPECT_EQ(repeated->id, once->id + 1);
    EndTimedJobs();
}

TEST_F(TimedRegister, IdsAreSharedByAllSchedulers) {
    TimedJobScheduler other(clock);
    Counter runs;
    const std::int32_t first = Once(1h, Counting(runs))->id;
    EXPECT_EQ(other.Register(Counting(runs), 1h, false)->id, first + 1);
    // Not by the fixture, which would wait for a single sleeping loop.
    EXPECT_EQ(scheduler->Register(Counting(runs), 1h, false)->id, first + 2);
}

TEST_F(TimedRegister, ASchedulerDoesNotKnowTheJobsOfAnother) {
    TimedJobScheduler other(clock);
    Counter runs;
    const TimedJobTicket ticket = other.Register(Counting(runs), 1h, false);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EXPECT_FALSE(scheduler->Unregister(ticket));
    EXPECT_TRUE(other.IsIdle(ticket));
    EXPECT_TRUE(other.Unregister(ticket));
}

TEST_F(TimedRegister, EmptyTicketsAndUnknownIdsNameNothing) {
    EXPECT_FALSE(scheduler->Unregister(nullptr));
    EXPECT_FALSE(scheduler->IsIdle(nullptr));
    for (const std::int32_t id : {0, -1, INT32_MAX, INT32_MIN}) {
        const auto ticket = std::make_shared<TimedJobState>(TimedJobState{id, true});
        EXPECT_FALSE(scheduler->Unregister(ticket));
        EXPECT_FALSE(scheduler->IsIdle(ticket));
    }
}

TEST_F(TimedRegister, AnyTicketWithTheIdNamesTheJob) {
    Counter runs;
    const std::int32_t id = Repeat(1h, Counting(runs))->id;
    const auto other = std::make_shared<TimedJobState>(TimedJobState{id, false});
    EXPECT_TRUE(scheduler->IsIdle(other));
    EXPECT_TRUE(scheduler->Unregister(other));
    EXPECT_FALSE(scheduler->Unregister(other));
    EndTimedJobs();
}

TEST_F(TimedRegister, AJobIsIdleExceptWhileARunIsQueuedOrRuns) {
    OccupyQueue();
    Event begun, mayEnd;
    const TimedJobTicket ticket = Repeat(100ms, [&](const TimedJobTicket&) {
        begun.Set();
        mayEnd.Wait();
    });
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    AwaitSleepUntil(100ms);
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    EXPECT_FALSE(scheduler->IsIdle(ticket)); // queued
    ReleaseQueue();
    begun.Wait();
    EXPECT_FALSE(scheduler->IsIdle(ticket)); // runs
    mayEnd.Set();
    AwaitRuns();
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    EXPECT_TRUE(scheduler->Unregister(ticket));
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EndTimedJobs();
}

TEST_F(TimedRegister, AJobThatDoesNotRepeatIsGoneWhenItsRunIsQueued) {
    OccupyQueue();
    Counter runs;
    const TimedJobTicket ticket = Once(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitNoLoop();
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EXPECT_FALSE(scheduler->Unregister(ticket));
    ReleaseQueue();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 1u);
    EndTimedJobs();
}

TEST_F(TimedRegister, AJobThatIsUnregisteredBeforeItIsDueNeverRuns) {
    Counter runs;
    const TimedJobTicket ticket = Once(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    EXPECT_TRUE(scheduler->Unregister(ticket));
    AwaitNoLoop();
    clock.Advance(1h);
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 0u);
    EndTimedJobs();
}

TEST_F(TimedRegister, UnregisterTakesAQueuedRunOutOfTheQueue) {
    OccupyQueue();
    Counter runs;
    const auto token = std::make_shared<int>(0);
    const TimedJobTicket ticket =
        Repeat(100ms, [&runs, token](const TimedJobTicket&) { runs.Add(); });
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    EXPECT_EQ(token.use_count(), 2);
    EXPECT_TRUE(scheduler->Unregister(ticket));
    // The run held the callback, and is gone though the queue is still occupied.
    EXPECT_EQ(token.use_count(), 1);
    ReleaseQueue();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 0u);
    EndTimedJobs();
}

TEST_F(TimedRegister, ARunThatUnregisterCannotTakeOutOfTheQueueIsCancelled) {
    OccupyQueue();
    Counter runs;
    const TimedJobTicket ticket = Repeat(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared();
    jobQueue.Reset();
    EXPECT_TRUE(scheduler->Unregister(ticket));
    jobQueue = queue;
    ReleaseQueue();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 0u);
    EndTimedJobs();
}

TEST_F(TimedRegister, ARunThatHasBegunIsNotStoppedByUnregister) {
    Event begun, mayEnd, ended;
    const TimedJobTicket ticket = Repeat(0ms, [&](const TimedJobTicket&) {
        begun.Set();
        mayEnd.Wait();
        ended.Set();
    });
    begun.Wait();
    EXPECT_TRUE(scheduler->Unregister(ticket));
    EXPECT_FALSE(ended.IsSet());
    mayEnd.Set();
    ended.Wait();
    EndTimedJobs();
}

TEST_F(TimedRegister, QueuedRunsOutliveTheScheduler) {
    OccupyQueue();
    Counter runs;
    Repeat(100ms, Counting(runs));
    Once(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    scheduler.reset();
    AwaitNoLoop();
    ReleaseQueue();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 2u);
    EndTimedJobs();
}

TEST_F(TimedRegister, ARunOutlivesTheSchedulerThatEndsWhileItIsQueued) {
    // To queue the run the queue needs a thread, and while that is made the scheduler ends.
    Event mayBegin;
    const auto pool = std::make_shared<CThreadPool>(1, [&](const Job& function) {
        scheduler.reset();
        return std::make_unique<kq_test::StandardThread>([&mayBegin, function] {
            mayBegin.Wait();
            function();
        });
    });
    jobQueue = std::make_shared<CJobQueue>(pool, 1);
    Counter runs;
    Repeat(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitNoLoop();
    mayBegin.Set();
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 1u);
    jobQueue.Reset();
}

TEST_F(TimedRegister, FailingRunsDoNotEndTheRepetition) {
    Counter runs;
    const TimedJobTicket ticket = Repeat(100ms, [&](const TimedJobTicket&) {
        runs.Add();
        if (runs.Value() == 1)
            throw std::runtime_error("on purpose");
        throw 42;
    });
    for (int round = 1; round != 4; ++round) {
        AwaitSleepUntil(round * 100ms);
        AwaitRuns();
        EXPECT_TRUE(scheduler->IsIdle(ticket));
        clock.Advance(100ms);
    }
    runs.WaitFor(3);
    EndTimedJobs();
}

TEST_F(TimedRegister, AnEmptyCallbackFailsItsRunOnly) {
    const TimedJobTicket ticket = Repeat(100ms, Callback());
    Counter runs;
    Repeat(100ms, Counting(runs));
    for (int round = 1; round != 3; ++round) {
        AwaitSleepUntil(round * 100ms);
        AwaitRuns();
        clock.Advance(100ms);
    }
    runs.WaitFor(2);
    AwaitRuns();
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    EndTimedJobs();
}

} // namespace
