// The loops that serve a queue: they come, sleep, and go, and no job is forgotten meanwhile.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/load.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::Load;
using kq_test::ReturnsInTime;
using kq_test::TestFactory;

namespace {

TEST(JobQueueDispatchers, TheQueueEndsAfterARunningJobDroppedTheLastWaitingOne) {
    const auto pool = std::make_shared<CThreadPool>(2);
    for (int round = 0; round != 200; ++round) {
        ReturnsInTime("the end of a queue", [&] {
            Event started, release;
            CJobQueue queue(pool, 1);
            const CJobTicket failing = queue.Queue([&] {
                started.Set();
                release.Wait();
                throw std::runtime_error("no");
            });
            started.Wait();
            queue.Queue([] {}, dependsOn(failing));
            // Its dispatcher finds nothing more to do but to wait.
            queue.Queue([] {}).Wait();
            release.Set();
        });
    }
}

TEST(JobQueueDispatchers, AJobThatMayStartDoesSoWhileARunningOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    CJobQueue queue(pool, 1);
    for (int round = 0; round != 200; ++round) {
        const CJobTicket outer = queue.Queue([&] { queue.Queue([] {}).Wait(); });
        EXPECT_TRUE(outer.Wait(30'000));
    }
}

TEST(JobQueueDispatchers, AJobThatBecomesReadyStartsWhileTheDestructorOfADroppedOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    Event release, hasRun;
    CJobQueue queue(pool, 1);
    const CJobTicket failing = queue.Queue([&] {
        release.Wait();
        throw std::runtime_error("no");
    });
    const auto token = [&] { return kq_test::OnDestruction([&] { hasRun.Wait("the job"); }); };
    const CJobTicket dropped = queue.Queue([held = token()] {}, dependsOn(failing));
    queue.Queue([&] { hasRun.Set(); }, after(failing));
    release.Set();
    dropped.Wait();
    EXPECT_TRUE(hasRun.IsSet());
}

TEST(JobQueueDispatchers, AJobStartsWhileTheDestructorOfADroppedPolledOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    bool hasRun = false;
    CJobQueue queue(pool, 1);
    const CJobTicket dropped = queue.Queue(
        [held = kq_test::OnDestruction([&] { hasRun = queue.Queue([] {}).Wait(30'000); })] {},
        condition([] { return StartInfo::Drop; }));
    dropped.Wait();
    EXPECT_TRUE(hasRun);
}

// The pass that drops the one job finds that the other one may start.
TEST(JobQueueDispatchers, AJobStartsWhileTheDestructorOfOneDroppedInTheSamePassWaitsForIt) {
    Event asked, answer, hasRun;
    CJobQueue queue(std::make_shared<CThreadPool>(2), 1);
    const CJobTicket dropped = queue.Queue(
        [held = kq_test::OnDestruction([&] { hasRun.Wait("the job"); })] {}, condition([&] {
            asked.Set();
            answer.Wait();
            return StartInfo::Drop;
        }));
    asked.Wait();
    queue.Queue([&] { hasRun.Set(); });
    answer.Set();
    dropped.Wait();
    EXPECT_TRUE(hasRun.IsSet());
}

// The second dispatcher has nothing to do for the moment, while the first one runs a job: it must
// not go, because that job waits for one that only it can run.
TEST(JobQueueDispatchers, ADispatcherStaysWhileTheOtherOnesOnlyRunJobs) {
    enum class Waits { ForTicket, ForCondition };
    for (const Waits waits : {Waits::ForTicket, Waits::ForCondition})
        for (int round = 0; round != 20; ++round) {
            Event outerStarted, innerQueued, releaseOutside;
            CThreadPool outside(1);
            const CJobTicket outsideJob = outside.Start([&] { releaseOutside.Wait(); });
            CJobTicket inner;
            CJobQueue queue(std::make_shared<CThreadPool>(2), 1);
            const CJobTicket outer = queue.Queue([&] {
                outerStarted.Set();
                innerQueued.Wait();
                inner.Wait();
            });
            outerStarted.Wait();
            inner =
                queue.Queue([] {}, waits == Waits::ForTicket ? after(outsideJob) : condition([&] {
                                return outsideJob.Wait(0) ? StartInfo::Start : StartInfo::Postpone;
                            }));
            innerQueued.Set();
            queue.Queue([] {}).Wait();
            releaseOutside.Set();
            ASSERT_TRUE(outer.Wait(30'000));
        }
}

// All of them have to run at once to come to their end.
TEST(JobQueueDispatchers, EveryJobThatBecomesReadyGetsADispatcherOfItsOwnWithinTheLimit) {
    constexpr std::size_t limit = 4;
    const auto pool = std::make_shared<CThreadPool>(limit);
    for (int round = 0; round != 30; ++round) {
        Event release;
        Counter inside;
        CJobQueue queue(pool, 1);
        const CJobTicket first = queue.Queue([&] { release.Wait(); });
        const auto polled =
            condition([&] { return first.Wait(0) ? StartInfo::Start : StartInfo::Postpone; });
        std::vector<CJobTicket> tickets;
        for (std::size_t i = 0; i != limit; ++i)
            tickets.push_back(queue.Queue(
                [&] {
                    inside.Add();
                    inside.WaitFor(limit, "jobs that run at once");
                },
                i % 2 == 0 ? after(first) : polled));
        release.Set();
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
    }
}

TEST(JobQueueDispatchers, AJobForWhichNoThreadCameRunsWithALaterOneInOrder) {
    TestFactory factory([](std::size_t call) { return call > 2; });
    std::vector<int> order;
    CJobQueue queue(std::make_shared<CThreadPool>(1, factory.Function()), 1);
    const auto text = [&](const Job& job) {
        return ThrownText<std::runtime_error>([&] { queue.Queue(job); });
    };
    EXPECT_EQ(text([&] { order.push_back(1); }), "Thread could not be created!");
    EXPECT_EQ(text([&] { order.push_back(2); }), "Thread could not be created!");
    queue.Queue([&] { order.push_back(3); }).Wait();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(JobQueueDispatchers, AWokenJobForWhichNoThreadCameStaysAndRunsLater) {
    std::atomic<bool> mayMake{false};
    TestFactory factory([&](std::size_t) { return mayMake.load(); });
    CThreadPool outside(1);
    Event release, hasRun;
    const CJobTicket outsideJob = outside.Start([&] { release.Wait(); });
    CJobQueue queue(std::make_shared<CThreadPool>(1, factory.Function()), 1);
    EXPECT_THROW(queue.Queue([&] { hasRun.Set(); }, after(outsideJob)), std::runtime_error);
    release.Set();
    outsideJob.Wait();
    mayMake = true;
    queue.Queue([] {}).Wait();
    hasRun.Wait("the woken job");
}

TEST(JobQueueDispatchers, AJobQueuedWhileAThreadIsAskedForInVainGetsAnother) {
    Event isAsked, mayRefuse;
    TestFactory factory([&](std::size_t call) {
        if (call == 2) {
            isAsked.Set();
            mayRefuse.Wait("the late job");
        }
        return call > 2;
    });
    CThreadPool outside(1);
    Event release, hasRun;
    const CJobTicket outsideJob = outside.Start([&] { release.Wait(); });
    CJobQueue queue(std::make_shared<CThreadPool>(1, factory.Function()), 1);
    EXPECT_THROW(queue.Queue([&] { hasRun.Set(); }, after(outsideJob)), std::runtime_error);
    release.Set();
    isAsked.Wait("the thread for the woken job");
    const CJobTicket late = queue.Queue([] {});
    mayRefuse.Set();
    EXPECT_TRUE(late.Wait(30'000));
    hasRun.Wait("the woken job");
}

TEST(JobQueueDispatchers, ALateOneFindsItsQueueGone) {
    std::atomic<bool> mayMake{false};
    TestFactory factory([&](std::size_t) { return mayMake.load(); });
    const auto pool = std::make_shared<CThreadPool>(1, factory.Function());
    {
        CJobQueue queue(pool, 1);
        EXPECT_THROW(queue.Queue([] {}), std::runtime_error);
    }
    mayMake = true;
    pool->Start([] {}).Wait();
}

TEST(JobQueueDispatchers, ALateOneKeepsTheLimit) {
    for (int round = 0; round != 30; ++round) {
        TestFactory factory([](std::size_t call) { return call != 1; });
        Load load;
        CJobQueue queue(std::make_shared<CThreadPool>(1, factory.Function()), 1);
        const auto job = [&] {
            load.Enter();
            for (int i = 0; i != 10; ++i)
                std::this_thread::yield();
            load.Leave();
        };
        EXPECT_THROW(queue.Queue(job), std::runtime_error);
        std::vector<CJobTicket> tickets;
        for (int i = 0; i != 20; ++i)
            tickets.push_back(queue.Queue(job));
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
        ASSERT_EQ(load.Most(), 1U);
    }
}

// A thread of the pool that ended the pool would have to wait for itself: these threads cannot.
TEST(JobQueueDispatchers, TheLastReferenceOnThePoolIsNeverDroppedOnOneOfItsThreads) {
    for (int round = 0; round != 100; ++round) {
        TestFactory factory([round](std::size_t call) { return round % 2 == 0 || call != 1; });
        auto pool = std::make_shared<CThreadPool>(2, factory.Function());
        const std::weak_ptr<CThreadPool> watched = pool;
        {
            CJobQueue queue(std::move(pool), 1);
            CJobTicket last;
            for (int i = 0; i != 4; ++i) {
                try {
                    last = queue.Queue([] {}, after(last));
                } catch (const std::runtime_error&) {
                    continue;
                }
            }
            last.Wait();
        }
        ASSERT_TRUE(watched.expired());
    }
}

} // namespace
