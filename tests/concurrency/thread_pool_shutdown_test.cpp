// The end of a pool.
#include <kq/concurrency/thread_pool.h>

#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::Eventually;
using kq_test::ReturnsInTime;
using kq_test::TestFactory;

namespace {

// The spare limit is 0 only then.
bool IsEnding(const CThreadPool& pool) { return pool.MaxSpareThreadCount() == 0; }

TEST(ThreadPoolShutdown, RunningJobsFinishFirst) {
    Event started;
    bool wasEnding = false;
    CJobTicket ticket;
    {
        CThreadPool pool;
        ticket = pool.Start([&] {
            started.Set();
            wasEnding = Eventually([&] { return IsEnding(pool); });
        });
        started.Wait();
    }
    EXPECT_TRUE(ticket.Wait(0));
    EXPECT_TRUE(wasEnding);
}

TEST(ThreadPoolShutdown, WaitingThreadsEnd) {
    ReturnsInTime("the end of a pool of waiting threads", [] {
        Counter running;
        CThreadPool pool(4);
        for (int i = 0; i != 4; ++i)
            pool.Start([&running] {
                running.Add();
                running.WaitFor(4);
            });
        running.WaitFor(4);
    });
}

TEST(ThreadPoolShutdown, JobsThatRunningJobsStartAreServed) {
    constexpr std::size_t links = 50;
    std::size_t ran = 0;
    std::mutex mutex;
    std::vector<CJobTicket> started; // a job may run before its starter has its ticket
    ReturnsInTime("the end of a pool whose jobs start others", [&] {
        std::function<void()> link;
        CThreadPool pool(1);
        link = [&] {
            if (ran == 0 && !Eventually([&] { return IsEnding(pool); }))
                kq_test::FailHandShake("the end of a pool did not begin");
            if (++ran == links)
                return;
            const CJobTicket next = pool.Start(link);
            const std::lock_guard guard(mutex);
            started.push_back(next);
        };
        pool.Start(link);
    });
    EXPECT_EQ(ran, links);
    EXPECT_EQ(started.size(), links - 1);
    for (const CJobTicket& ticket : started)
        EXPECT_TRUE(ticket.Wait(0));
}

TEST(ThreadPoolShutdown, AJobMayWaitForAJobThatItStartsMeanwhile) {
    bool innerRan = false;
    ReturnsInTime("the end of a pool whose job waits for another", [&] {
        CThreadPool pool(1);
        pool.Start([&] {
            if (!Eventually([&] { return IsEnding(pool); }))
                kq_test::FailHandShake("the end of a pool did not begin");
            pool.Start([&] { innerRan = true; }).Wait();
        });
    });
    EXPECT_TRUE(innerRan);
}

TEST(ThreadPoolShutdown, ManyJobsStartOthersAtOnce) {
    constexpr std::size_t count = 8;
    std::atomic<std::size_t> ran{0};
    ReturnsInTime("the end of a pool whose jobs all start others", [&] {
        CThreadPool pool(2, std::chrono::duration<int>(0));
        for (std::size_t i = 0; i != count; ++i)
            pool.Start([&] {
                if (!Eventually([&] { return IsEnding(pool); }))
                    kq_test::FailHandShake("the end of a pool did not begin");
                std::vector<CJobTicket> tickets;
                for (int j = 0; j != 3; ++j)
                    tickets.push_back(pool.Start([&] { ++ran; }));
                for (const CJobTicket& ticket : tickets)
                    ticket.Wait();
            });
    });
    EXPECT_EQ(ran, 3 * count);
}

TEST(ThreadPoolShutdown, AJobInTheSlotIsRunByAThreadThatEnds) {
    TestFactory factory([](std::size_t call) { return call == 1; });
    bool leftRan = false;
    ReturnsInTime("the end of a pool with a job in its slot", [&] {
        Event running;
        CThreadPool pool(1, factory.Function());
        pool.Start([&] {
            running.Set();
            if (!Eventually([&] { return IsEnding(pool); }))
                kq_test::FailHandShake("the end of a pool did not begin");
        });
        running.Wait();
        EXPECT_THROW((void)pool.Start([&] { leftRan = true; }), std::runtime_error);
    });
    EXPECT_TRUE(leftRan);
}

TEST(ThreadPoolShutdown, AJobThatNoThreadCameForIsDestroyedAndNotRun) {
    TestFactory factory([](std::size_t) { return false; });
    bool ran = false;
    bool isGone = false;
    {
        CThreadPool pool(1, factory.Function());
        EXPECT_THROW((void)pool.Start([&, token = kq_test::OnDestruction([&] { isGone = true; })] {
            ran = true;
        }),
                     std::runtime_error);
        EXPECT_FALSE(isGone);
    }
    EXPECT_FALSE(ran);
    EXPECT_TRUE(isGone);
}

// What such a job captured may still use the pool.
TEST(ThreadPoolShutdown, TheThreadsOfJobsThatADestructorStartsAreWaitedFor) {
    TestFactory factory([](std::size_t call) { return call != 1; });
    Event go;
    CJobTicket late;
    ReturnsInTime("the end of a pool whose last job starts another", [&] {
        CThreadPool pool(1, factory.Function());
        EXPECT_THROW((void)pool.Start([token = kq_test::OnDestruction([&] {
                                           late = pool.Start([] {
                                               for (int i = 0; i != 1000; ++i)
                                                   std::this_thread::yield();
                                           });
                                       })] {}),
                     std::runtime_error);
    });
    EXPECT_TRUE(late.Wait(0));
}

} // namespace
