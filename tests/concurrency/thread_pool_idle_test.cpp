// Threads of a pool that wait for work: how long, and how many stay. On a clock that is turned by
// hand.
#include "concurrency/thread_pool_core.h"
#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/manual_clock.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::ManualClock;
using namespace std::chrono_literals;

namespace {

using Seconds = std::chrono::duration<int>;

class ThreadPoolIdle : public testing::Test {
protected:
    ~ThreadPoolIdle() override {
        if (pool != nullptr)
            pool->ShutDown();
    }

    void MakePool(std::size_t maxSpareThreads, Seconds idleTime) {
        pool =
            std::make_shared<ThreadPoolCore>(maxSpareThreads, idleTime, threads.Function(), clock);
    }

    /// Has `count` jobs run at once, each on a thread of its own, and end.
    void RunAtOnce(std::size_t count) {
        Counter met;
        std::vector<CJobTicket> tickets;
        for (std::size_t job = 0; job != count; ++job)
            tickets.push_back(pool->Start([&] {
                met.Add();
                met.WaitFor(count);
            }));
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
    }

    /// Blocks until `count` threads are held, none of which is about to end.
    void AwaitThreads(std::size_t count) {
        if (!kq_test::Eventually([&] {
                pool->RemoveFinishedThreads();
                return pool->ThreadCount() == count && pool->SpareThreadCount() == count;
            }))
            kq_test::FailHandShake("the end of idle threads");
    }

    ManualClock clock;
    kq_test::TestFactory threads;
    std::shared_ptr<ThreadPoolCore> pool;
};

TEST_F(ThreadPoolIdle, ThreadsWaitForTheirIdleTime) {
    MakePool(1, Seconds(10));
    RunAtOnce(3);
    clock.AwaitWaiters(3);
    clock.Advance(10s - 1ns);
    // Nobody's time is over.
    clock.AwaitWaiters(3);
    EXPECT_EQ(pool->SpareThreadCount(), 3u);
    EXPECT_EQ(pool->ThreadCount(), 3u);
    clock.Advance(1ns);
    AwaitThreads(1);
    clock.AwaitWaiters(0);
}

TEST_F(ThreadPoolIdle, AsManyAsTheSpareLimitStayForGood) {
    MakePool(2, Seconds(10));
    RunAtOnce(5);
    clock.AwaitWaiters(5);
    clock.Advance(10s);
    AwaitThreads(2);
    // These wait without looking at the clock.
    clock.AwaitWaiters(0);
    clock.Advance(std::chrono::hours(24 * 365));
    EXPECT_EQ(pool->SpareThreadCount(), 2u);
    RunAtOnce(2);
    EXPECT_EQ(threads.Calls(), 5u);
}

TEST_F(ThreadPoolIdle, FewerThanTheSpareLimitAllStay) {
    MakePool(4, Seconds(10));
    RunAtOnce(3);
    clock.AwaitWaiters(3);
    clock.Advance(1h);
    clock.AwaitWaiters(0);
    AwaitThreads(3);
}

TEST_F(ThreadPoolIdle, TheIdleTimeBeginsAnewWithEveryJob) {
    MakePool(1, Seconds(10));
    RunAtOnce(2);
    clock.AwaitWaiters(2);
    clock.Advance(6s);
    RunAtOnce(2);
    clock.AwaitWaiters(2);
    clock.Advance(6s);
    // 12 s after the first jobs, 6 s after the last ones.
    clock.AwaitWaiters(2);
    EXPECT_EQ(pool->SpareThreadCount(), 2u);
    clock.Advance(4s);
    AwaitThreads(1);
}

TEST_F(ThreadPoolIdle, ABusyThreadDoesNotAge) {
    MakePool(1, Seconds(10));
    Event begun, mayEnd;
    const CJobTicket busy = pool->Start([&] {
        begun.Set();
        mayEnd.Wait();
    });
    begun.Wait();
    RunAtOnce(1);
    clock.AwaitWaiters(1);
    clock.Advance(1h);
    // The idle one is within the spare limit.
    clock.AwaitWaiters(0);
    EXPECT_EQ(pool->ThreadCount(), 2u);
    mayEnd.Set();
    busy.Wait();
    clock.AwaitWaiters(1);
    EXPECT_EQ(pool->SpareThreadCount(), 2u);
    clock.Advance(10s);
    AwaitThreads(1);
}

TEST_F(ThreadPoolIdle, AThreadThatStaysServesTheNextJob) {
    MakePool(1, Seconds(10));
    RunAtOnce(3);
    clock.AwaitWaiters(3);
    clock.Advance(10s);
    AwaitThreads(1);
    for (int job = 0; job != 100; ++job) {
        pool->Start([] {}).Wait();
        AwaitThreads(1);
    }
    EXPECT_EQ(threads.Calls(), 3u);
}

TEST_F(ThreadPoolIdle, AnIdleTimeOfZeroEndsSurplusThreadsAtOnce) {
    for (const Seconds idleTime : {Seconds(0), Seconds(-1), Seconds::min()}) {
        MakePool(1, idleTime);
        RunAtOnce(3);
        AwaitThreads(1);
        clock.AwaitWaiters(0);
        pool->ShutDown();
    }
}

TEST_F(ThreadPoolIdle, TheLongestIdleTimeDoesNotOverflow) {
    MakePool(1, Seconds::max());
    RunAtOnce(3);
    clock.AwaitWaiters(3);
    clock.Advance(Seconds::max() - 1s);
    clock.AwaitWaiters(3);
    EXPECT_EQ(pool->SpareThreadCount(), 3u);
    clock.Advance(1s);
    AwaitThreads(1);
}

TEST_F(ThreadPoolIdle, AJobThatComesInTheMomentTheIdleTimeEndsIsTaken) {
    for (int round = 0; round != 200; ++round) {
        MakePool(1, Seconds(10));
        RunAtOnce(2);
        clock.AwaitWaiters(2);
        std::thread turning([this] { clock.Advance(10s); });
        RunAtOnce(2);
        turning.join();
        pool->ShutDown();
    }
}

TEST_F(ThreadPoolIdle, ShutdownEndsThreadsThatWait) {
    MakePool(2, Seconds(10));
    RunAtOnce(4);
    clock.AwaitWaiters(4);
    kq_test::ReturnsInTime("the shutdown of an idle pool", [&] { pool->ShutDown(); });
    EXPECT_EQ(pool->ThreadCount(), 0u);
    clock.AwaitWaiters(0);
}

} // namespace
