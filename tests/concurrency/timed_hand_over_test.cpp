// Runs that begin, or end, before the scheduler's loop knows that they are queued.
#include "support/hand_shake.h"
#include "support/test_threads.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using namespace std::chrono_literals;

namespace {

class TimedHandOver : public kq_test::TimedJobsOnManualClock {
protected:
    TimedHandOver() { jobQueue = std::make_shared<CJobQueue>(queuePool_, 1); }

    ~TimedHandOver() override {
        mayGoOn.Set();
        EndTimedJobs();
        jobQueue.Reset();
        queuePool_.reset();
    }

    void AwaitDue(std::chrono::milliseconds interval) {
        AwaitSleepUntil(interval);
        clock.Advance(interval);
    }

    void UnregisterInTheMiddle(bool repeat) {
        Counter runs;
        TimedJobTicket ticket;
        Event unregistered;
        beforeTheRun = [&] {
            EXPECT_TRUE(scheduler->Unregister(ticket));
            EXPECT_FALSE(scheduler->Unregister(ticket));
            unregistered.Set();
        };
        ticket = Register(Counting(runs), 100ms, repeat);
        AwaitDue(100ms);
        unregistered.Wait();
        mayGoOn.Set();
        AwaitNoLoop();
        AwaitRuns();
        EXPECT_EQ(runs.Value(), 0u);
    }

    /// Called by the loop, in the middle of queueing the first run.
    std::function<void()> beforeTheRun = [] {};
    Event mayGoOn; ///< the loop, after the run has got its thread

private:
    std::unique_ptr<CThread> MakeThread(const Job& function) {
        if (hasHeldUp_.exchange(true))
            return std::make_unique<kq_test::StandardThread>(function);
        beforeTheRun();
        auto thread = std::make_unique<kq_test::StandardThread>(function);
        mayGoOn.Wait();
        return thread;
    }

    std::atomic<bool> hasHeldUp_{false};
    std::shared_ptr<CThreadPool> queuePool_ = std::make_shared<CThreadPool>(
        1, [this](const Job& function) { return MakeThread(function); });
};

TEST_F(TimedHandOver, OfTheOnlyRunIsTheEndOfItsRegistration) {
    Event begun, mayEnd;
    const TimedJobTicket ticket = Once(100ms, [&](const TimedJobTicket& own) {
        EXPECT_FALSE(scheduler->IsIdle(own));
        EXPECT_FALSE(scheduler->Unregister(own));
        begun.Set();
        mayEnd.Wait();
    });
    AwaitDue(100ms);
    begun.Wait();
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EXPECT_FALSE(scheduler->Unregister(ticket));
    mayEnd.Set();
    AwaitRuns();
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EXPECT_FALSE(scheduler->Unregister(ticket));
}

TEST_F(TimedHandOver, OfARunThatIsRepeatedKeepsItsRegistration) {
    Counter runs;
    Event mayEnd;
    const TimedJobTicket ticket = Repeat(100ms, [&](const TimedJobTicket& own) {
        EXPECT_FALSE(scheduler->IsIdle(own));
        runs.Add();
        mayEnd.Wait();
    });
    AwaitDue(100ms);
    runs.WaitFor(1);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    mayEnd.Set();
    AwaitRuns();
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    EXPECT_TRUE(scheduler->Unregister(ticket));
    EXPECT_FALSE(scheduler->Unregister(ticket));
    EXPECT_FALSE(scheduler->IsIdle(ticket));
}

TEST_F(TimedHandOver, ComesTooLateForAnOnlyRunThatIsUnregisteredMeanwhile) {
    UnregisterInTheMiddle(false);
}

TEST_F(TimedHandOver, ComesTooLateForARepeatedRunThatIsUnregisteredMeanwhile) {
    UnregisterInTheMiddle(true);
}

} // namespace
