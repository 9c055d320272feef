// The loop of a scheduler: there while timed jobs are, one at most, whatever its pool and the queue
// do.
#include "support/hand_shake.h"
#include "support/thrown.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using namespace std::chrono_literals;

namespace {

class TimedLoops : public kq_test::TimedJobsOnManualClock {
protected:
    static void DoNothing(const TimedJobTicket& /*ticket*/) {}
};

TEST_F(TimedLoops, NoThreadIsUsedWithoutTimedJobs) {
    EXPECT_EQ(loopPool->JobCount(), 0u);
    EXPECT_EQ(loopThreads.Calls(), 0u);
}

TEST_F(TimedLoops, OneThreadServesAllTimedJobs) {
    for (int job = 0; job != 50; ++job)
        Repeat(100ms, DoNothing);
    AwaitSleepUntil(100ms);
    EXPECT_EQ(loopPool->JobCount(), 1u);
    EXPECT_EQ(loopThreads.Calls(), 1u);
}

TEST_F(TimedLoops, TheLoopEndsWhenTheLastTimedJobIsUnregistered) {
    const TimedJobTicket first = Repeat(100ms, DoNothing);
    const TimedJobTicket second = Repeat(100ms, DoNothing);
    AwaitSleepUntil(100ms);
    EXPECT_TRUE(scheduler->Unregister(first));
    AwaitSleepUntil(100ms);
    EXPECT_TRUE(scheduler->Unregister(second));
    AwaitNoLoop();
}

TEST_F(TimedLoops, TheLoopEndsWhenTheLastTimedJobHadItsRun) {
    Once(100ms, DoNothing);
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitNoLoop();
}

TEST_F(TimedLoops, TheLoopEndsWithTheScheduler) {
    Repeat(100ms, DoNothing);
    AwaitSleepUntil(100ms);
    scheduler.reset();
    AwaitNoLoop();
}

TEST_F(TimedLoops, TheFirstTimedJobAfterAllOthersWentStartsALoopAgain) {
    Counter runs;
    for (std::size_t round = 1; round != 5; ++round) {
        Once(100ms, Counting(runs));
        AwaitSleepUntil(round * 100ms);
        clock.Advance(100ms);
        runs.WaitFor(round);
        AwaitNoLoop();
    }
    EndTimedJobs();
}

TEST_F(TimedLoops, QuickPairsOfRegisterAndUnregisterStartOneLoop) {
    // The loop's thread is slow to begin.
    Event mayBegin;
    const auto slow = std::make_shared<CThreadPool>(1, [&](const Job& function) {
        return std::make_unique<kq_test::StandardThread>([&mayBegin, function] {
            mayBegin.Wait();
            function();
        });
    });
    threadPool = slow;
    for (int pair = 0; pair != 400; ++pair)
        EXPECT_TRUE(scheduler->Unregister(scheduler->Register(DoNothing, 1ms, true)));
    EXPECT_EQ(slow->JobCount(), 1u);
    EXPECT_EQ(slow->ThreadCount(), 1u);
    mayBegin.Set();
    // And as quickly as it gets while the loop runs.
    for (int pair = 0; pair != 400; ++pair)
        EXPECT_TRUE(scheduler->Unregister(scheduler->Register(DoNothing, 1ms, true)));
    EXPECT_LE(slow->ThreadCount(), 10u);
    threadPool = loopPool;
}

TEST_F(TimedLoops, WithoutAPoolNothingIsRegistered) {
    threadPool.Reset();
    const std::weak_ptr<void> callback = [&] {
        const auto token = std::make_shared<int>(0);
        EXPECT_EQ(
            ThrownText<std::runtime_error>([&] { Once(0ms, [token](const TimedJobTicket&) {}); }),
            std::string("Singleton instance of ") + typeid(CThreadPool).name() +
                " does not exists!");
        return std::weak_ptr<void>(token);
    }();
    EXPECT_TRUE(callback.expired());
    threadPool = loopPool;
}

TEST_F(TimedLoops, ARegistrationWhoseLoopFindsNoThreadIsTakenBack) {
    allowLoopThread = [](std::size_t call) { return call != 1; };
    Counter refused, served;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { Once(0ms, Counting(refused)); }),
              "Thread could not be created!");
    // The pool has kept the refused loop, and gives it to the first thread that it makes.
    Once(0ms, Counting(served));
    served.WaitFor(1);
    AwaitNoLoop();
    AwaitRuns();
    EXPECT_EQ(served.Value(), 1u);
    EXPECT_EQ(refused.Value(), 0u);
    EndTimedJobs();
}

TEST_F(TimedLoops, WhatTheThreadFactoryThrowsLeaves) {
    allowLoopThread = [](std::size_t call) -> bool {
        if (call == 1)
            throw std::logic_error("no thread today");
        return true;
    };
    EXPECT_EQ(ThrownText<std::logic_error>([&] { Once(0ms, DoNothing); }), "no thread today");
}

TEST_F(TimedLoops, ALoopThatThePoolKeptRunsLateWithoutHarm) {
    allowLoopThread = [](std::size_t call) { return call != 1; };
    Counter runs;
    EXPECT_THROW(Repeat(100ms, DoNothing), std::runtime_error);
    Repeat(100ms, Counting(runs));
    // One loop sleeps, the one that was given up has gone.
    for (std::size_t round = 1; round != 4; ++round) {
        AwaitSleepUntil(round * 100ms);
        clock.Advance(100ms);
        runs.WaitFor(round);
        AwaitRuns();
    }
    AwaitSleepUntil(400ms);
    EXPECT_EQ(runs.Value(), 3u);
    loopPool->Start([] {}).Wait();
    AwaitSleepUntil(400ms);
    EndTimedJobs();
}

TEST_F(TimedLoops, ALoopThatThePoolKeptAndRunsMuchLaterFindsItselfGivenUp) {
    allowLoopThread = [](std::size_t call) { return call != 1; };
    EXPECT_THROW(Repeat(100ms, DoNothing), std::runtime_error);
    // The pool's next job is somebody else's; its thread takes the loop first.
    loopPool->Start([] {}).Wait();
    AwaitNoLoop();
    clock.AwaitWaiters(0);
}

TEST_F(TimedLoops, OfManyRegistrationsAtOnceThoseThatFailNeverRunAndTheOthersDo) {
    constexpr std::size_t threadCount = 6;
    constexpr std::size_t refusals = 3;
    Counter runs, arrived;
    std::atomic<std::size_t> failed{0};
    for (std::size_t round = 1; round != 20; ++round) {
        const std::size_t calls = loopThreads.Calls();
        allowLoopThread = [calls](std::size_t call) { return call > calls + refusals; };
        const auto pool = std::make_shared<CThreadPool>(1, loopThreads.Function());
        threadPool = pool;
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread != threadCount; ++thread)
            threads.emplace_back([&] {
                arrived.Add();
                arrived.WaitFor(round * threadCount);
                try {
                    Once(0ms, Counting(runs));
                } catch (const std::runtime_error&) {
                    ++failed;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        runs.WaitFor(round * threadCount - failed);
        AwaitRuns();
        EXPECT_EQ(runs.Value(), round * threadCount - failed);
        threadPool = loopPool;
    }
    EXPECT_GT(failed, 0u);
    EndTimedJobs();
}

TEST_F(TimedLoops, ARegistrationDuringTheLateReturnOfAnotherDoesNotCountOnALoopThatFails) {
    // The first registration is served and its loop has ended before its call returns; then a
    // second one waits for a thread, which it will not get.
    Event mayReturn, isAsked, mayFail;
    allowLoopThread = [&](std::size_t call) {
        if (call != 2)
            return true;
        isAsked.Set();
        mayFail.Wait("the third registration");
        return false;
    };
    const auto pool =
        std::make_shared<CThreadPool>(1, [&, make = loopThreads.Function()](const Job& function) {
            std::unique_ptr<CThread> thread = make(function);
            if (loopThreads.Calls() == 1)
                mayReturn.Wait("the second registration");
            return thread;
        });
    threadPool = pool;
    Counter runs;
    TimedJobTicket ticket;
    std::thread first([&] { ticket = Once(0ms, Counting(runs)); });
    runs.WaitFor(1);
    ASSERT_TRUE(kq_test::Eventually([&] { return pool->SpareThreadCount() == 1; }));
    Event occupied, release;
    const CJobTicket occupant = pool->Start([&] {
        occupied.Set();
        release.Wait("the loop that serves the third registration");
    });
    occupied.Wait();

    std::thread second([&] { EXPECT_THROW(Once(0ms, DoNothing), std::runtime_error); });
    isAsked.Wait("the loop of the second registration");
    mayReturn.Set();
    first.join();

    Counter thirdRuns;
    std::thread third([&] { Repeat(1h, Counting(thirdRuns)); });
    // The ids go up by one.
    const auto thirdTicket = std::make_shared<TimedJobState>(TimedJobState{ticket->id + 2, true});
    ASSERT_TRUE(kq_test::Eventually([&] { return scheduler->IsIdle(thirdTicket); }));
    mayFail.Set();
    second.join();
    third.join();
    AwaitSleepUntil(1h);
    clock.Advance(1h);
    thirdRuns.WaitFor(1);
    AwaitRuns();
    release.Set();
    occupant.Wait();
    scheduler.reset();
    threadPool = loopPool;
}

// The call that makes the thread of the loop may return after the loop has ended.
TEST_F(TimedLoops, ACallbackMayEndTheSchedulerBeforeItsRegistrationReturns) {
    Event ended;
    std::shared_ptr<CThreadPool> pool;
    pool =
        std::make_shared<CThreadPool>(1, [&, make = loopThreads.Function()](const Job& function) {
            std::unique_ptr<CThread> thread = make(function);
            ended.Wait("the end of the scheduler");
            if (!kq_test::Eventually([&] { return pool->SpareThreadCount() == 1; }))
                kq_test::FailHandShake("the end of the loop");
            return thread;
        });
    threadPool = pool;
    const TimedJobTicket ticket = Repeat(0ms, [&](const TimedJobTicket&) {
        scheduler.reset();
        ended.Set();
    });
    EXPECT_TRUE(ticket->repeat);
    AwaitRuns();
    threadPool = loopPool;
}

TEST_F(TimedLoops, SurvivesAnEmptiedJobQueue) {
    Counter once, repeated;
    const TimedJobTicket ticket = Once(100ms, Counting(once));
    Repeat(100ms, Counting(repeated));
    jobQueue.Reset();
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    // Still due; 100 ms have gone by since their last run, which is their registration.
    AwaitSleepUntil(300ms);
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    InstallQueue();
    clock.Advance(200ms);
    once.WaitFor(1);
    repeated.WaitFor(1);
    AwaitSleepUntil(400ms);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    EndTimedJobs();
}

TEST_F(TimedLoops, AnEmptiedJobQueueDoesNotMakeTheLoopSpin) {
    jobQueue.Reset();
    Counter runs;
    Once(0ms, Counting(runs));
    AwaitSleepUntil(1ms);
    const std::size_t before = clock.Reads();
    clock.Advance(1ms);
    AwaitSleepUntil(2ms);
    EXPECT_LE(clock.Reads() - before, 10u);
    InstallQueue();
    clock.Advance(1ms);
    runs.WaitFor(1);
    EndTimedJobs();
}

TEST_F(TimedLoops, ARunThatTheQueueFoundNoThreadForIsNotQueuedTwice) {
    kq_test::TestFactory runThreads([](std::size_t call) { return call != 1; });
    const auto pool = std::make_shared<CThreadPool>(1, runThreads.Function());
    jobQueue = std::make_shared<CJobQueue>(pool, 1);
    Counter runs;
    const TimedJobTicket ticket = Repeat(100ms, Counting(runs));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    // The queue kept the run, so its time is that of the last run.
    AwaitSleepUntil(200ms);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    clock.Advance(100ms);
    AwaitSleepUntil(400ms);
    EXPECT_EQ(runs.Value(), 0u);
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 1u);
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    scheduler.reset();
    AwaitNoLoop();
    jobQueue.Reset();
}

} // namespace
