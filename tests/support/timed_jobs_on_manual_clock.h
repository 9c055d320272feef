// A scheduler on a hand-cranked clock, with services of its own around it.
#pragma once

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>

#include "concurrency/timed_job_scheduler.h"
#include "concurrency/ui_job_queue_impl.h"
#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/manual_clock.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace kq_test {

/// The scheduler's loops run on the process-wide pool, whose threads a test can watch and refuse;
/// the runs of timed jobs are queued on the process-wide queue, which has a pool of its own and
/// runs `runsAtOnce` of them at once.
class TimedJobsOnManualClock : public testing::Test {
protected:
    using Milliseconds = std::chrono::milliseconds;
    using Ticket = kq::concurrency::TimedJobTicket;
    using Callback = std::function<void(const Ticket&)>;
    using TimePoint = ManualClock::TimePoint;

    explicit TimedJobsOnManualClock(std::size_t runsAtOnce = 1)
        : runPool(std::make_shared<kq::concurrency::CThreadPool>(runsAtOnce)),
          loopPool(std::make_shared<kq::concurrency::CThreadPool>(1, loopThreads.Function())) {
        kq::concurrency::threadPool = loopPool;
        kq::concurrency::uiJobQueue = std::make_shared<kq::concurrency::CUIJobQueueImpl>();
        InstallQueue();
    }

    ~TimedJobsOnManualClock() override {
        scheduler.reset();
        // The loops hold the queue at times; their end comes first.
        kq::concurrency::threadPool.Reset();
        loopPool.reset();
        kq::concurrency::jobQueue.Reset();
        kq::concurrency::uiJobQueue.Reset();
    }

    void InstallQueue() {
        kq::concurrency::jobQueue = std::make_shared<kq::concurrency::CJobQueue>(runPool, 1);
    }

    /// Registers a timed job while the loop sleeps or there is none, and returns when the loop
    /// sleeps, unless the job is due at once. A loop that were slow to begin would compute its wait
    /// at a later time.
    Ticket Register(Callback callback, Milliseconds interval, bool repeat) {
        Ticket ticket = scheduler->Register(std::move(callback), interval, repeat);
        if (interval > Milliseconds::zero())
            clock.AwaitWaiters(1);
        return ticket;
    }
    Ticket Once(Milliseconds interval, Callback callback) {
        return Register(std::move(callback), interval, false);
    }
    Ticket Repeat(Milliseconds interval, Callback callback) {
        return Register(std::move(callback), interval, true);
    }

    /// A callback that only counts its runs.
    static Callback Counting(Counter& runs) {
        return [&runs](const Ticket&) { runs.Add(); };
    }

    /// Blocks until the loop sleeps until that long after the beginning of the test. A loop whose
    /// wait has become longer only finds out when it wakes.
    void AwaitSleepUntil(ManualClock::Duration sinceBegin) {
        const bool sleeps = Eventually([&] {
            if (clock.IsAwaited(begin + sinceBegin))
                return true;
            clock.WakeEarly();
            return clock.IsAwaited(begin + sinceBegin);
        });
        if (!sleeps)
            FailHandShake("a loop that waits for its time");
    }

    /// Ends the scheduler, its loops and every run. The last step of a test whose callbacks use
    /// what belongs to the test alone.
    void EndTimedJobs() {
        scheduler.reset();
        AwaitNoLoop();
        if (kq::concurrency::jobQueue.GetShared() != nullptr)
            AwaitRuns();
    }

    /// Returns when everything that is queued now has run.
    static void AwaitRuns() {
        kq::concurrency::jobQueue->Queue([] {}).Wait();
    }

    /// Returns when every loop that was started has ended. May make a thread for the loops.
    void AwaitNoLoop() {
        // Once this job was taken, so was every loop before it.
        loopPool->Start([] {}).Wait();
        if (!Eventually([this] { return loopPool->SpareThreadCount() == loopPool->ThreadCount(); }))
            FailHandShake("the end of the loops");
    }

    ManualClock clock;
    const TimePoint begin = clock.Now();
    /// Asked, with its number from 1, for every thread of the pool of the loops.
    TestFactory::Decision allowLoopThread = [](std::size_t) { return true; };
    TestFactory loopThreads{[this](std::size_t call) { return allowLoopThread(call); }};
    const std::shared_ptr<kq::concurrency::CThreadPool> runPool;
    std::shared_ptr<kq::concurrency::CThreadPool> loopPool;
    std::unique_ptr<kq::concurrency::TimedJobScheduler> scheduler =
        std::make_unique<kq::concurrency::TimedJobScheduler>(clock);
};

} // namespace kq_test
