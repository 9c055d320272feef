#include <kq/concurrency/thread_pool.h>

#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::Eventually;
using kq_test::TestFactory;

namespace {

TEST(ThreadPool, TheDefaultSpareLimitIsTheNumberOfHardwareThreads) {
    const std::size_t hardware = std::max(1U, std::thread::hardware_concurrency());
    EXPECT_EQ(CThreadPool().MaxSpareThreadCount(), hardware);
    EXPECT_EQ(CThreadPool(0).MaxSpareThreadCount(), hardware);
    EXPECT_EQ(CThreadPool(0, std::chrono::duration<int>(1)).MaxSpareThreadCount(), hardware);
    EXPECT_EQ(CThreadPool(ThreadFactory()).MaxSpareThreadCount(), hardware);
    EXPECT_EQ(CThreadPool(7).MaxSpareThreadCount(), 7U);
}

TEST(ThreadPool, ConstructionStartsNoThread) {
    TestFactory factory;
    const CThreadPool pool(2, factory.Function());
    EXPECT_EQ(factory.Calls(), 0U);
    EXPECT_EQ(pool.ThreadCount(), 0U);
    EXPECT_EQ(pool.SpareThreadCount(), 0U);
    EXPECT_EQ(pool.JobCount(), 0U);
}

TEST(ThreadPool, EveryBlockedJobHasAThreadOfItsOwn) {
    Counter running;
    Event release;
    CThreadPool pool(1);
    std::vector<CJobTicket> tickets;
    for (int i = 0; i != 3; ++i)
        tickets.push_back(pool.Start([&] {
            running.Add();
            release.Wait();
        }));
    running.WaitFor(3);
    EXPECT_EQ(pool.ThreadCount(), 3U);
    EXPECT_EQ(pool.SpareThreadCount(), 0U);
    EXPECT_EQ(pool.JobCount(), 3U);
    release.Set();
    for (const CJobTicket& ticket : tickets)
        ticket.Wait();
    EXPECT_TRUE(Eventually([&] { return pool.SpareThreadCount() == 3; }));
}

TEST(ThreadPool, ASpareThreadTakesTheNextJob) {
    TestFactory factory;
    CThreadPool pool(1, factory.Function());
    pool.Start([] {}).Wait();
    for (std::size_t i = 0; i != 20; ++i) {
        ASSERT_TRUE(Eventually([&] { return pool.SpareThreadCount() == 1; }));
        pool.Start([] {}).Wait();
    }
    EXPECT_EQ(factory.Calls(), 1U);
    EXPECT_EQ(pool.ThreadCount(), 1U);
}

TEST(ThreadPool, CountsEveryStartedJobForEver) {
    CThreadPool pool(2);
    for (std::size_t i = 1; i != 50; ++i) {
        const CJobTicket ticket = pool.Start([] {});
        EXPECT_EQ(pool.JobCount(), i);
        ticket.Wait();
        EXPECT_EQ(pool.JobCount(), i);
    }
}

TEST(ThreadPool, DoesNotLimitHowManyJobsRun) {
    constexpr std::size_t count = 40;
    Counter running;
    CThreadPool pool(1);
    std::vector<CJobTicket> tickets;
    for (std::size_t i = 0; i != count; ++i)
        tickets.push_back(pool.Start([&] {
            running.Add();
            running.WaitFor(count, "all jobs at once");
        }));
    for (const CJobTicket& ticket : tickets)
        ticket.Wait();
    EXPECT_EQ(pool.ThreadCount(), count);
}

TEST(ThreadPool, AJobMayUseThePoolThatRunsIt) {
    CThreadPool pool(1);
    std::size_t threads = 0, spare = 1, jobs = 0;
    CJobTicket inner;
    pool.Start([&] {
            threads = pool.ThreadCount();
            spare = pool.SpareThreadCount();
            jobs = pool.JobCount();
            pool.RemoveFinishedThreads();
            inner = pool.Start([] {});
            inner.Wait();
        })
        .Wait();
    EXPECT_LE(threads, 1U);
    EXPECT_EQ(spare, 0U);
    EXPECT_EQ(jobs, 1U);
    EXPECT_TRUE(inner.Wait(0));
}

TEST(ThreadPool, StartCopiesTheJobAndKeepsNothingOfItAfterwards) {
    auto token = std::make_shared<int>();
    const Job job = [token] {};
    CThreadPool pool;
    pool.Start(job).Wait();
    EXPECT_EQ(token.use_count(), 2);
    pool.Start(job).Wait();
    EXPECT_EQ(token.use_count(), 2);
}

} // namespace
