// Pools whose threads cannot always be made, and thread objects that use the pool themselves.
#include <kq/concurrency/thread_pool.h>

#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::ReturnsInTime;
using kq_test::TestFactory;

namespace {

constexpr const char* refusedText = "Thread could not be created!";

std::string StartText(CThreadPool& pool, const Job& job) {
    return ThrownText<std::runtime_error>([&] { (void)pool.Start(job); });
}

TEST(ThreadPoolFactory, WithoutAThreadStartThrows) {
    TestFactory factory([](std::size_t) { return false; });
    CThreadPool pool(1, factory.Function());
    EXPECT_EQ(StartText(pool, [] {}), refusedText);
    EXPECT_EQ(pool.JobCount(), 1U);
    EXPECT_EQ(pool.ThreadCount(), 0U);
    EXPECT_EQ(pool.SpareThreadCount(), 0U);
}

TEST(ThreadPoolFactory, AFurtherStartTriesAgainAndNeverWaitsForAThreadThatCannotCome) {
    TestFactory factory([](std::size_t) { return false; });
    ReturnsInTime("a start without threads", [&] {
        CThreadPool pool(1, factory.Function());
        for (int i = 0; i != 3; ++i)
            if (StartText(pool, [] {}) != refusedText)
                kq_test::FailHandShake("a start without threads did not throw as it should");
        if (pool.JobCount() != 1)
            kq_test::FailHandShake("a job that was not taken was counted");
    });
    EXPECT_EQ(factory.Calls(), 3U);
}

TEST(ThreadPoolFactory, AJobThatFoundNoThreadRunsOnTheNextOne) {
    TestFactory factory([](std::size_t call) { return call > 2; });
    Event firstRan;
    std::atomic<bool> secondRan{false};
    CThreadPool pool(1, factory.Function());
    EXPECT_EQ(StartText(pool, [&] { firstRan.Set(); }), refusedText);
    EXPECT_EQ(StartText(pool, [&] { secondRan = true; }), refusedText);
    pool.Start([] {}).Wait();
    firstRan.Wait("the job without a ticket");
    EXPECT_FALSE(secondRan) << "the pool kept a job that it had not taken";
    EXPECT_EQ(pool.JobCount(), 2U);
}

TEST(ThreadPoolFactory, ABusyThreadRunsTheLeftJobAfterItsOwn) {
    TestFactory factory([](std::size_t call) { return call == 1; });
    Event running, release, leftRan;
    CThreadPool pool(1, factory.Function());
    const CJobTicket busy = pool.Start([&] {
        running.Set();
        release.Wait();
    });
    running.Wait();
    EXPECT_EQ(StartText(pool, [&] { leftRan.Set(); }), refusedText);
    release.Set();
    leftRan.Wait("the left job");
}

TEST(ThreadPoolFactory, AJobThatStartsOthersIsNotBlockedByTheSlotThatOnlyItCouldEmpty) {
    TestFactory factory([](std::size_t call) { return call == 1; });
    std::string first, second;
    CThreadPool pool(1, factory.Function());
    const CJobTicket busy = pool.Start([&] {
        first = StartText(pool, [] {});
        second = StartText(pool, [] {});
    });
    EXPECT_TRUE(busy.Wait(30'000));
    EXPECT_EQ(first, refusedText);
    EXPECT_EQ(second, refusedText);
}

TEST(ThreadPoolFactory, WhatTheFactoryThrowsLeavesStart) {
    TestFactory factory([](std::size_t call) -> bool {
        if (call == 1)
            throw std::logic_error("no threads today");
        return true;
    });
    Event firstRan;
    CThreadPool pool(1, factory.Function());
    EXPECT_EQ(ThrownText<std::logic_error>([&] { (void)pool.Start([&] { firstRan.Set(); }); }),
              "no threads today");
    pool.Start([] {}).Wait();
    firstRan.Wait("the job without a ticket");
}

// The second starter counts on the thread that the first one is making.
TEST(ThreadPoolFactory, AStarterThatWaitsForAThreadLooksAgainWhenItCannotBeMade) {
    for (const bool secondCallFails : {false, true}) {
        Event factoryEntered, fail;
        TestFactory factory([&](std::size_t call) {
            if (call != 1)
                return !secondCallFails;
            factoryEntered.Set();
            fail.Wait();
            return false;
        });
        CThreadPool pool(1, factory.Function());
        std::string firstText, secondText;
        ReturnsInTime("two starters", [&] {
            std::thread first([&] { firstText = StartText(pool, [] {}); });
            factoryEntered.Wait();
            std::thread second([&] { secondText = StartText(pool, [] {}); });
            for (int i = 0; i != 100; ++i)
                std::this_thread::yield();
            fail.Set();
            first.join();
            second.join();
        });
        EXPECT_EQ(firstText, refusedText);
        EXPECT_EQ(secondText, secondCallFails ? refusedText : "(nothing was thrown)");
    }
}

TEST(ThreadPoolFactory, TheFactoryMayUseThePool) {
    const CThreadPool* user = nullptr;
    std::size_t jobs = 0, threads = 1;
    TestFactory factory([&](std::size_t) {
        jobs = user->JobCount();
        threads = user->ThreadCount();
        return true;
    });
    CThreadPool pool(1, factory.Function());
    user = &pool;
    ReturnsInTime("a start whose factory uses the pool", [&] { pool.Start([] {}).Wait(); });
    EXPECT_EQ(jobs, 1U);
    EXPECT_EQ(threads, 0U);
}

// A thread object whose every operation uses the pool that holds it.
class InquisitiveThread final : public CThread {
public:
    InquisitiveThread(const Job& function, CThreadPool& pool) : thread_(function), pool_(pool) {}
    ~InquisitiveThread() override {
        (void)pool_.SpareThreadCount();
        pool_.RemoveFinishedThreads();
    }
    void Wait() const override { thread_.Wait(); }
    bool IsFinished() const override {
        (void)pool_.ThreadCount();
        pool_.RemoveFinishedThreads();
        return thread_.IsFinished();
    }

private:
    kq_test::StandardThread thread_;
    CThreadPool& pool_;
};

TEST(ThreadPoolFactory, ThreadObjectsMayUseThePoolThatHoldsThem) {
    ReturnsInTime("a pool of inquisitive threads", [] {
        std::unique_ptr<CThreadPool> pool;
        pool = std::make_unique<CThreadPool>(
            1, std::chrono::duration<int>(0), [&](const Job& function) {
                return std::make_unique<InquisitiveThread>(function, *pool);
            });
        for (int round = 0; round != 5; ++round) {
            Counter running;
            std::vector<CJobTicket> tickets;
            for (int i = 0; i != 3; ++i)
                tickets.push_back(pool->Start([&] {
                    running.Add();
                    running.WaitFor(3);
                    pool->RemoveFinishedThreads();
                }));
            for (const CJobTicket& ticket : tickets)
                ticket.Wait();
            pool->RemoveFinishedThreads();
        }
        // The pool is still whole while its threads end.
        CThreadPool* const ending = pool.get();
        ending->~CThreadPool();
        ::operator delete(pool.release());
    });
}

TEST(ThreadPoolFactory, ThePoolKeepsACopyOfTheFactoryAndLetsGoOfItAtItsEnd) {
    bool isGone = false;
    {
        auto token = kq_test::OnDestruction([&] { isGone = true; });
        const CThreadPool pool(1, [token](const Job&) { return std::unique_ptr<CThread>(); });
        token.reset();
        EXPECT_FALSE(isGone);
    }
    EXPECT_TRUE(isGone);
}

} // namespace
