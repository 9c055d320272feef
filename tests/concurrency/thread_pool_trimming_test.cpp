// How long the threads of a pool wait for work. Time is turned by hand.
#include "concurrency/thread_pool_core.h"

#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/test_threads.h"
#include "thread/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using kq::concurrency::CJobTicket;
using kq::concurrency::ThreadPoolCore;
using kq_test::Counter;
using kq_test::Eventually;
using namespace std::chrono_literals;

namespace {

// Waits look at the time again and again, so that turning it needs no notification.
class HandClock final : public kq::thread::Clock {
public:
    TimePoint Now() const noexcept override {
        return TimePoint(std::chrono::seconds(seconds_.load()));
    }
    void WaitUntil(kq::thread::condition_variable& variable, kq::thread::mutex& held,
                   TimePoint /*deadline*/) noexcept override KQ_REQUIRES(held) {
        variable.wait_until(held, kq::thread::Deadline(1ms));
    }
    void Turn(std::chrono::seconds span) { seconds_ += span.count(); }

private:
    std::atomic<std::int64_t> seconds_{1000};
};

class ThreadPoolTrimming : public testing::Test {
protected:
    ~ThreadPoolTrimming() override {
        if (pool)
            pool->ShutDown();
    }

    void MakePool(std::size_t spareLimit, std::chrono::duration<int> idleTime) {
        pool = std::make_shared<ThreadPoolCore>(spareLimit, idleTime, factory.Function(), clock);
    }

    // Makes so many threads, all of which wait for work afterwards or have given that up.
    void UseThreads(std::size_t count) {
        Counter running;
        std::vector<CJobTicket> tickets;
        for (std::size_t i = 0; i != count; ++i)
            tickets.push_back(pool->Start([&] {
                running.Add();
                running.WaitFor(count);
            }));
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
    }

    bool BecomesSpare(std::size_t count) {
        return Eventually([&] { return pool->SpareThreadCount() == count; });
    }

    HandClock clock;
    kq_test::TestFactory factory;
    std::shared_ptr<ThreadPoolCore> pool;
};

TEST_F(ThreadPoolTrimming, SurplusThreadsEndAfterTheIdleTime) {
    MakePool(1, 10s);
    UseThreads(3);
    ASSERT_TRUE(BecomesSpare(3));
    clock.Turn(9s);
    EXPECT_EQ(pool->SpareThreadCount(), 3U);
    clock.Turn(1s);
    EXPECT_TRUE(BecomesSpare(1));
    // The threads that ended leave their objects until somebody removes them.
    EXPECT_TRUE(Eventually([&] {
        pool->RemoveFinishedThreads();
        return pool->ThreadCount() == 1;
    }));
    clock.Turn(1000s);
    pool->Start([] {}).Wait();
    EXPECT_EQ(factory.Calls(), 3U);
    EXPECT_EQ(pool->ThreadCount(), 1U);
}

TEST_F(ThreadPoolTrimming, AThreadThatEndsRemovesThoseThatEndedBefore) {
    MakePool(1, 10s);
    UseThreads(4);
    ASSERT_TRUE(BecomesSpare(4));
    clock.Turn(10s);
    ASSERT_TRUE(BecomesSpare(1));
    // Three have ended; the last of them has found the others, unless they ended in one moment.
    EXPECT_TRUE(Eventually([&] { return pool->ThreadCount() <= 4; }));
    pool->RemoveFinishedThreads();
    EXPECT_TRUE(Eventually([&] {
        pool->RemoveFinishedThreads();
        return pool->ThreadCount() == 1;
    }));
}

TEST_F(ThreadPoolTrimming, NoThreadsEndWhileTheyAreWithinTheLimit) {
    MakePool(3, 10s);
    UseThreads(3);
    ASSERT_TRUE(BecomesSpare(3));
    clock.Turn(100s);
    UseThreads(3);
    EXPECT_EQ(factory.Calls(), 3U);
}

TEST_F(ThreadPoolTrimming, AThreadThatHasGivenUpIsReplacedWhenNeeded) {
    MakePool(1, 10s);
    UseThreads(2);
    ASSERT_TRUE(BecomesSpare(2));
    clock.Turn(10s);
    ASSERT_TRUE(BecomesSpare(1));
    UseThreads(2);
    EXPECT_EQ(factory.Calls(), 3U);
}

TEST_F(ThreadPoolTrimming, ANegativeIdleTimeIsAsNone) {
    for (const int idle : {-1, std::numeric_limits<int>::min(), 0}) {
        MakePool(1, std::chrono::duration<int>(idle));
        UseThreads(3);
        EXPECT_TRUE(BecomesSpare(1)) << idle;
        UseThreads(3);
        EXPECT_TRUE(BecomesSpare(1)) << idle;
        pool->ShutDown();
    }
}

TEST_F(ThreadPoolTrimming, TheLongestIdleTimeNeverEnds) {
    MakePool(1, std::chrono::duration<int>(std::numeric_limits<int>::max()));
    UseThreads(3);
    ASSERT_TRUE(BecomesSpare(3));
    clock.Turn(std::chrono::hours(24 * 365 * 60));
    UseThreads(3);
    EXPECT_EQ(factory.Calls(), 3U);
}

} // namespace
