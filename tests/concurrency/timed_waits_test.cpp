// When the loop of a scheduler wakes, and what it finds due then; to the nanosecond.
#include "support/hand_shake.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using kq::concurrency::TimedJobTicket;
using kq_test::Counter;
using kq_test::Event;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::hours tenDays(24 * 10);

class TimedWaits : public kq_test::TimedJobsOnManualClock {
protected:
    using Notes = std::vector<std::string>;

    /// A callback that writes its name and the time down.
    Callback Noting(const std::string& name) {
        return [this, name](const TimedJobTicket&) {
            const std::lock_guard guard(mutex);
            const auto elapsed = clock.Now() - begin;
            notes.push_back(
                name + std::to_string(std::chrono::duration_cast<Milliseconds>(elapsed).count()));
        };
    }

    void AwaitNotes(std::size_t count) {
        if (!kq_test::Eventually([&] { return Taken().size() >= count; }))
            kq_test::FailHandShake("a run");
    }

    Notes Taken() {
        AwaitRuns();
        const std::lock_guard guard(mutex);
        return notes;
    }

    std::mutex mutex;
    Notes notes;
};

TEST_F(TimedWaits, AJobThatDoesNotRepeatRunsOnceWhenItsDelayIsOver) {
    const TimedJobTicket ticket = Once(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms - 1ns);
    AwaitSleepUntil(100ms);
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    clock.Advance(1ns);
    AwaitNoLoop();
    EXPECT_EQ(Taken(), (Notes{"A100"}));
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    clock.Advance(1h);
    EXPECT_EQ(Taken(), (Notes{"A100"}));
}

TEST_F(TimedWaits, AJobThatRepeatsRunsAtItsInterval) {
    Repeat(100ms, Noting("A"));
    for (int round = 1; round != 5; ++round) {
        AwaitSleepUntil(round * 100ms);
        AwaitRuns();
        clock.Advance(100ms);
    }
    AwaitSleepUntil(500ms);
    EXPECT_EQ(Taken(), (Notes{"A100", "A200", "A300", "A400"}));
}

TEST_F(TimedWaits, ALoopThatStartsWaitingHalfwayWaitsAFullIntervalMore) {
    Repeat(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    clock.Advance(50ms);
    Once(1s, Noting("B")); // makes the loop compute its wait anew
    // 50 ms have gone by, and are added.
    AwaitSleepUntil(50ms + 150ms);
    clock.Advance(149ms);
    AwaitSleepUntil(200ms);
    EXPECT_EQ(Taken(), Notes());
    clock.Advance(1ms);
    AwaitSleepUntil(300ms);
    EXPECT_EQ(Taken(), (Notes{"A200"}));
}

TEST_F(TimedWaits, TheRegistrationThatStartsTheLoopDoesNotDisturbItsWait) {
    // The call is slow to return: the loop sleeps by then, and time goes by.
    const auto pool = std::make_shared<kq::concurrency::CThreadPool>(
        1, [&, make = loopThreads.Function()](const kq::concurrency::Job& function) {
            auto thread = make(function);
            AwaitSleepUntil(100ms);
            clock.Advance(50ms);
            return thread;
        });
    kq::concurrency::threadPool = pool;
    Once(100ms, Noting("A"));
    clock.Advance(49ms);
    AwaitSleepUntil(100ms);
    clock.Advance(1ms);
    AwaitNotes(1);
    EXPECT_EQ(Taken(), (Notes{"A100"}));
    scheduler.reset();
    kq::concurrency::threadPool = loopPool;
}

TEST_F(TimedWaits, AnEntryThatGoesMakesTheLoopComputeItsWaitAnewToo) {
    Repeat(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    const TimedJobTicket other = Once(1s, Noting("B"));
    clock.Advance(30ms);
    scheduler->Unregister(other);
    AwaitSleepUntil(30ms + 130ms);
    clock.Advance(130ms);
    AwaitSleepUntil(260ms);
    EXPECT_EQ(Taken(), (Notes{"A160"}));
}

TEST_F(TimedWaits, OnlyAShorterWaitWakesTheLoop) {
    Repeat(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    clock.Advance(50ms);
    Once(1s, Noting("B")); // from now on A is waited for until 200 ms
    EXPECT_TRUE(clock.IsAwaited(begin + 100ms));
    Once(10ms, Noting("C"));
    EXPECT_TRUE(kq_test::Eventually([&] { return clock.IsAwaited(begin + 60ms); }));
    clock.Advance(10ms);
    EXPECT_TRUE(kq_test::Eventually([&] { return clock.IsAwaited(begin + 220ms); }));
    EXPECT_EQ(Taken(), (Notes{"C60"}));
}

TEST_F(TimedWaits, TheEndOfTheLastTimedJobWakesTheLoop) {
    const TimedJobTicket ticket = Repeat(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    scheduler->Unregister(ticket);
    AwaitNoLoop();
    EXPECT_EQ(Taken(), Notes());
}

TEST_F(TimedWaits, TheShortestIntervalAndElapsedTimeDecide) {
    Repeat(100ms, Noting("A"));
    AwaitSleepUntil(100ms);
    clock.Advance(80ms);
    Repeat(150ms, Noting("B"));
    // A asks for 100 + 80, B for 150 + 0.
    AwaitSleepUntil(80ms + 150ms);
    clock.Advance(150ms);
    // Both are due, in the order of registration.
    AwaitSleepUntil(230ms + 100ms);
    EXPECT_EQ(Taken(), (Notes{"A230", "B230"}));
    clock.Advance(100ms);
    AwaitSleepUntil(330ms + 100ms);
    EXPECT_EQ(Taken(), (Notes{"A230", "B230", "A330"}));
    clock.Advance(100ms);
    AwaitSleepUntil(430ms + 100ms);
    EXPECT_EQ(Taken(), (Notes{"A230", "B230", "A330", "A430", "B430"}));
}

TEST_F(TimedWaits, DueJobsAreQueuedInTheOrderOfRegistration) {
    Event release;
    Repeat(10s, [](const TimedJobTicket&) {});
    AwaitSleepUntil(10s);
    // The later they are registered the sooner they are due.
    for (int job = 0; job != 5; ++job)
        Once(Milliseconds(500 - 100 * job), Noting(std::string(1, static_cast<char>('A' + job))));
    AwaitSleepUntil(100ms);
    clock.Advance(500ms);
    AwaitSleepUntil(500ms + 10s + 500ms);
    EXPECT_EQ(Taken(), (Notes{"A500", "B500", "C500", "D500", "E500"}));
    EndTimedJobs();
}

TEST_F(TimedWaits, AJobThatBecomesDueDuringAPassIsServedInItWhenItsTurnIsStillToCome) {
    // The thread for the first run takes 50 ms to make; the clock is read for every entry.
    kq_test::TestFactory slow([&](std::size_t call) {
        if (call == 1)
            clock.Advance(50ms);
        return true;
    });
    const auto slowPool = std::make_shared<kq::concurrency::CThreadPool>(1, slow.Function());
    kq::concurrency::jobQueue = std::make_shared<kq::concurrency::CJobQueue>(slowPool, 1);
    Repeat(150ms, Noting("A"));
    Repeat(100ms, Noting("B"));
    Repeat(150ms, Noting("C"));
    Repeat(151ms, Noting("D"));
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    // B was queued at 100, C at 150; A, whose turn was over, and D did not run: the shortest wait
    // is that of C.
    AwaitSleepUntil(150ms + 150ms);
    EXPECT_EQ(Taken(), (Notes{"B150", "C150"}));
    scheduler.reset();
    AwaitNoLoop();
    kq::concurrency::jobQueue.Reset();
}

TEST_F(TimedWaits, AJobThatStillRunsIsLeftDueUntilItHasFinished) {
    Counter runs;
    Event release;
    const TimedJobTicket ticket = Repeat(100ms, [&](const TimedJobTicket&) {
        runs.Add();
        release.Wait();
    });
    AwaitSleepUntil(100ms);
    clock.Advance(100ms);
    AwaitSleepUntil(200ms);
    runs.WaitFor(1);
    EXPECT_FALSE(scheduler->IsIdle(ticket));
    // Due, but left alone: 100 ms have gone by since its run was queued.
    clock.Advance(100ms);
    AwaitSleepUntil(200ms + 200ms);
    clock.Advance(200ms);
    AwaitSleepUntil(400ms + 400ms);
    EXPECT_EQ(runs.Value(), 1u);
    release.Set();
    AwaitRuns();
    EXPECT_TRUE(scheduler->IsIdle(ticket));
    clock.Advance(400ms);
    AwaitSleepUntil(800ms + 100ms);
    AwaitRuns();
    EXPECT_EQ(runs.Value(), 2u);
    EndTimedJobs();
}

TEST_F(TimedWaits, AJobWithoutIntervalThatStillRunsDoesNotMakeTheLoopSpin) {
    Counter runs;
    Event release;
    Repeat(0ms, [&](const TimedJobTicket&) {
        runs.Add();
        release.Wait();
    });
    runs.WaitFor(1);
    // At least a millisecond after each pass that found nothing to do, and the time that has gone
    // by since the run was queued.
    Milliseconds sleptUntil = 1ms;
    AwaitSleepUntil(sleptUntil);
    for (int pass = 0; pass != 20; ++pass) {
        const std::size_t before = clock.Reads();
        clock.Advance(begin + sleptUntil - clock.Now());
        sleptUntil *= 2;
        AwaitSleepUntil(sleptUntil);
        EXPECT_LE(clock.Reads() - before, 10u);
    }
    EXPECT_EQ(runs.Value(), 1u);
    release.Set();
    EndTimedJobs();
}

TEST_F(TimedWaits, AnIntervalOfZeroIsDueAtOnce) {
    Once(0ms, Noting("A"));
    AwaitNoLoop();
    EXPECT_EQ(Taken(), (Notes{"A0"}));
}

TEST_F(TimedWaits, AnIntervalOfZeroIsDueAtOnceThoughTheLoopRestsFromAPassInVain) {
    Counter runs;
    Event release;
    Repeat(0ms, [&](const TimedJobTicket&) {
        runs.Add();
        release.Wait();
    });
    runs.WaitFor(1);
    AwaitSleepUntil(1ms);
    const auto occupied = kq::concurrency::jobQueue.GetShared();
    const auto otherPool = std::make_shared<kq::concurrency::CThreadPool>(1);
    kq::concurrency::jobQueue = std::make_shared<kq::concurrency::CJobQueue>(otherPool, 1);
    Once(0ms, Noting("B"));
    AwaitNotes(1);
    release.Set();
    EndTimedJobs();
}

TEST_F(TimedWaits, ANegativeIntervalCountsAsZero) {
    for (const Milliseconds interval : {-1ms, Milliseconds::min()}) {
        notes.clear();
        Once(interval, Noting("A"));
        AwaitNoLoop();
        EXPECT_EQ(Taken(), (Notes{"A0"}));
    }
}

TEST_F(TimedWaits, AWaitIsNeverLongerThanTenDays) {
    Once(tenDays + 1ms, Noting("A"));
    AwaitSleepUntil(tenDays);
    clock.Advance(tenDays);
    // Not due yet; what is left is not known to the loop, which adds what has gone by.
    AwaitSleepUntil(2 * tenDays);
    EXPECT_EQ(Taken(), Notes());
    clock.Advance(tenDays);
    AwaitNoLoop();
    EXPECT_EQ(Taken(), (Notes{"A1728000000"}));
}

TEST_F(TimedWaits, IntervalsBeyondTheRangeOfTheClockNeverPass) {
    const Milliseconds beyond[] = {
        Milliseconds::max(), Milliseconds::max() - 1ms,
        std::chrono::duration_cast<Milliseconds>(std::chrono::nanoseconds::max()) + 1ms,
        // Becomes a small number when it overflows.
        Milliseconds(0x4000'0000'0000'0000), Milliseconds(0x2000'0000'0000'0001)};
    for (const Milliseconds interval : beyond)
        Repeat(interval, Noting("A"));
    AwaitSleepUntil(tenDays);
    for (int pass = 1; pass != 4; ++pass) {
        clock.Advance(tenDays);
        AwaitSleepUntil((pass + 1) * tenDays);
    }
    EXPECT_EQ(Taken(), Notes());
}

TEST_F(TimedWaits, TheLargestIntervalsDoNotOverflowWhenElapsedTimeIsAdded) {
    const auto largest = std::chrono::duration_cast<Milliseconds>(std::chrono::nanoseconds::max());
    for (const Milliseconds interval : {largest, largest - 1h, largest - tenDays})
        Repeat(interval, Noting("A"));
    AwaitSleepUntil(tenDays);
    clock.Advance(tenDays);
    AwaitSleepUntil(2 * tenDays);
    // As if the loop had been kept from its work for a century.
    clock.Advance(std::chrono::hours(24 * 365 * 100));
    AwaitSleepUntil(tenDays + std::chrono::hours(24 * 365 * 100) + tenDays);
    EXPECT_EQ(Taken(), Notes());
}

TEST_F(TimedWaits, ALoopThatWasKeptFromItsWorkRunsEachJobOnce) {
    Repeat(100ms, Noting("A"));
    Repeat(300ms, Noting("B"));
    AwaitSleepUntil(100ms);
    clock.Advance(1h);
    AwaitSleepUntil(1h + 100ms);
    EXPECT_EQ(Taken(), (Notes{"A3600000", "B3600000"}));
}

} // namespace
