// The destruction of a queue: every waiting job runs or is dropped first.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::ReturnsInTime;
using kq_test::TestFactory;

namespace {

TEST(JobQueueEnd, WaitsForQueuedJobsOfBothLanes) {
    std::atomic<int> ran{0};
    ReturnsInTime("the end of a queue", [&] {
        CJobQueue queue(std::make_shared<CThreadPool>(1), 2);
        for (int i = 0; i != 200; ++i) {
            queue.Queue([&] { ++ran; });
            queue.Queue([&] { ++ran; }, isBlocking);
        }
    });
    EXPECT_EQ(ran, 400);
}

TEST(JobQueueEnd, LetsWaitingJobsRunOrBeDropped) {
    std::atomic<bool> go{false};
    Event queued;
    CJobTicket afterFailure, afterDrop, dependent, polled, droppedByCondition;
    bool afterFailureRan = false, afterDropRan = false, polledRan = false, dependentRan = false;
    ReturnsInTime("the end of a queue", [&] {
        CJobQueue queue(std::make_shared<CThreadPool>(2), 2);
        const CJobTicket failing = queue.Queue([&] {
            queued.Wait();
            throw std::runtime_error("no");
        });
        afterFailure = queue.Queue([&] { afterFailureRan = true; }, after(failing));
        dependent = queue.Queue([&] { dependentRan = true; }, dependsOn(failing));
        afterDrop = queue.Queue(
            [&] {
                afterDropRan = true;
                go = true;
            },
            after(dependent));
        polled =
            queue.Queue([&] { polledRan = true; },
                        condition([&] { return go ? StartInfo::Start : StartInfo::Postpone; }));
        droppedByCondition = queue.Queue(
            [] {}, condition([&] { return go ? StartInfo::Drop : StartInfo::Postpone; }));
        queued.Set();
    });
    EXPECT_TRUE(afterFailureRan && afterDropRan && polledRan);
    EXPECT_FALSE(dependentRan);
    for (const CJobTicket& ticket :
         {afterFailure, dependent, afterDrop, polled, droppedByCondition})
        EXPECT_TRUE(ticket.Wait(0));
}

TEST(JobQueueEnd, WaitsForAJobThatWaitsOnSomethingOutside) {
    CThreadPool outside;
    Event release;
    const CJobTicket ticket = outside.Start([&] { release.Wait(); });
    std::atomic<bool> hasEnded{false};
    bool ran = false;
    std::thread ending([&] {
        {
            CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
            queue.Queue([&] { ran = true; }, after(ticket));
        }
        hasEnded = true;
    });
    for (int i = 0; i != 100; ++i)
        std::this_thread::yield();
    EXPECT_FALSE(hasEnded);
    release.Set();
    ending.join();
    EXPECT_TRUE(ran);
}

TEST(JobQueueEnd, RunningJobsMayQueueMore) {
    constexpr int links = 100;
    int ran = 0;
    ReturnsInTime("the end of a queue whose jobs queue others", [&] {
        std::function<void()> link;
        CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
        link = [&] {
            if (++ran != links)
                queue.Queue(link);
        };
        queue.Queue(link);
    });
    EXPECT_EQ(ran, links);
}

TEST(JobQueueEnd, JobsOfOneLaneMayQueueOthersForTheOther) {
    for (int round = 0; round != 20; ++round) {
        int ran = 0;
        constexpr int links = 7;
        ReturnsInTime("the end of a queue whose lanes feed each other", [&] {
            std::function<void()> link;
            CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
            link = [&] {
                for (int i = 0; i != 20; ++i)
                    std::this_thread::yield();
                if (++ran != links)
                    queue.Queue(link, ran % 2 != 0 ? isBlocking : nullptr);
            };
            queue.Queue(link);
        });
        ASSERT_EQ(ran, links);
    }
}

TEST(JobQueueEnd, DestructorsOfDroppedJobsMayQueueMore) {
    std::atomic<int> ran{0};
    ReturnsInTime("the end of a queue whose dropped jobs queue others", [&] {
        Event release;
        CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
        const CJobTicket failing = queue.Queue([&] {
            release.Wait();
            throw std::runtime_error("no");
        });
        for (int i = 0; i != 10; ++i)
            queue.Queue([token = kq_test::OnDestruction([&] { queue.Queue([&] { ++ran; }); })] {},
                        dependsOn(failing));
        release.Set();
    });
    EXPECT_EQ(ran, 10);
}

TEST(JobQueueEnd, IsNotHeldUpByADispatcherThatNeverCame) {
    TestFactory factory([](std::size_t) { return false; });
    std::atomic<int> ran{0};
    int gone = 0;
    ReturnsInTime("the end of a queue without threads", [&] {
        const auto pool = std::make_shared<CThreadPool>(1, factory.Function());
        CJobQueue queue(pool, 1);
        for (int i = 0; i != 3; ++i)
            EXPECT_THROW(
                queue.Queue([&, token = kq_test::OnDestruction([&] { ++gone; })] { ++ran; }),
                std::runtime_error);
    });
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(gone, 3);
}

TEST(JobQueueEnd, RunsJobsWhoseDispatcherCanBeStartedAtLast) {
    std::atomic<bool> mayMake{false};
    TestFactory factory([&](std::size_t) { return mayMake.load(); });
    std::atomic<int> ran{0};
    ReturnsInTime("the end of a queue whose threads come late", [&] {
        CJobQueue queue(std::make_shared<CThreadPool>(1, factory.Function()), 1);
        for (int i = 0; i != 3; ++i)
            EXPECT_THROW(queue.Queue([&] { ++ran; }), std::runtime_error);
        mayMake = true;
    });
    EXPECT_EQ(ran, 3);
}

// The pool keeps the loop of a dispatcher for which it could not make a thread, and runs it when a
// thread comes at last: here while the end of the queue asks for another one, in vain.
TEST(JobQueueEnd, DropsNothingWhileALateDispatcherServesTheQueue) {
    Event busyRuns, busyMayEnd, jobRuns;
    std::atomic<bool> isEnding{false};
    TestFactory factory([&](std::size_t call) {
        if (isEnding) {
            busyMayEnd.Set();
            jobRuns.Wait("the job of the late dispatcher");
        }
        return call == 1;
    });
    const auto pool = std::make_shared<CThreadPool>(2, factory.Function());
    pool->Start([&] {
        busyRuns.Set();
        busyMayEnd.Wait();
    });
    busyRuns.Wait();
    std::atomic<int> ran{0};
    ReturnsInTime("the end of a queue with a late dispatcher", [&] {
        CJobQueue queue(pool, 1);
        EXPECT_THROW(queue.Queue([&] {
            ++ran;
            jobRuns.Set();
            for (int i = 0; i != 200; ++i)
                std::this_thread::yield();
        }),
                     std::runtime_error);
        EXPECT_THROW(queue.Queue([&] { ++ran; }), std::runtime_error);
        isEnding = true;
    });
    EXPECT_EQ(ran, 2);
}

} // namespace
