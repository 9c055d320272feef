// Routing, limits, order and removal.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/load.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::Load;

namespace {

// Queues jobs that block until released, and tells how many were let in at once.
class Blockade {
public:
    explicit Blockade(CJobQueue& queue) : queue_(queue) {}
    ~Blockade() { Open(); }

    void Queue(std::size_t count, const std::shared_ptr<CJobTermsImpl>& terms = {}) {
        for (std::size_t i = 0; i != count; ++i)
            tickets_.push_back(queue_.Queue(
                [this] {
                    load_.Enter();
                    entered_.Add();
                    open_.Wait("the end of a blockade");
                    load_.Leave();
                },
                terms));
    }
    void WaitForEntered(std::size_t count) { entered_.WaitFor(count, "jobs that run at once"); }
    std::size_t Entered() const { return entered_.Value(); }
    std::size_t Most() const { return load_.Most(); }

    void Open() {
        open_.Set();
        for (const CJobTicket& ticket : tickets_)
            ticket.Wait();
    }

private:
    CJobQueue& queue_;
    Load load_;
    Counter entered_;
    Event open_;
    std::vector<CJobTicket> tickets_;
};

TEST(JobQueue, RunsAJobOnAnotherThread) {
    CJobQueue queue(std::make_shared<CThreadPool>(2), 10);
    std::thread::id runner;
    queue.Queue([&] { runner = std::this_thread::get_id(); }).Wait();
    EXPECT_NE(runner, std::thread::id());
    EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(JobQueue, TwoOfFiveBlockedJobsRunAtOnceOnAPoolOfTwo) {
    CJobQueue queue(std::make_shared<CThreadPool>(2), 10);
    Blockade blockade(queue);
    blockade.Queue(5);
    blockade.WaitForEntered(2);
    EXPECT_EQ(blockade.Entered(), 2U);
    blockade.Open();
    EXPECT_EQ(blockade.Most(), 2U);
}

TEST(JobQueue, TenTimesAsManyBlockingJobsRunAtOnceAndTheLanesDoNotCount) {
    CJobQueue queue(std::make_shared<CThreadPool>(2), 10);
    Blockade blocking(queue), normal(queue);
    blocking.Queue(25, isBlocking);
    blocking.WaitForEntered(20);
    normal.Queue(5);
    normal.WaitForEntered(2);
    EXPECT_EQ(blocking.Entered(), 20U);
    EXPECT_EQ(normal.Entered(), 2U);
    blocking.Open();
    normal.Open();
    EXPECT_EQ(blocking.Most(), 20U);
    EXPECT_EQ(normal.Most(), 2U);
}

TEST(JobQueue, ABlockingFactorOfNoneGivesTheBlockingLaneTheLimitOfTheOther) {
    CJobQueue queue(std::make_shared<CThreadPool>(3), 0);
    Blockade blocking(queue);
    blocking.Queue(6, isBlocking);
    blocking.WaitForEntered(3);
    blocking.Open();
    EXPECT_EQ(blocking.Most(), 3U);
}

TEST(JobQueue, TheDefaultFactorIsTen) {
    CJobQueue queue(10U);
    const std::size_t limit = threadPool->MaxSpareThreadCount();
    Blockade normal(queue), blocking(queue);
    normal.Queue(limit + 1);
    normal.WaitForEntered(limit);
    blocking.Queue(10 * limit + 1, isBlocking);
    blocking.WaitForEntered(10 * limit);
    normal.Open();
    blocking.Open();
    EXPECT_EQ(normal.Most(), limit);
    EXPECT_EQ(blocking.Most(), 10 * limit);
}

// Products that are small again, or none, in 32 or in 64 bits.
TEST(JobQueue, LimitsAreMultipliedWithoutOverflow) {
    struct Case {
        std::size_t spareLimit;
        unsigned int factor;
    };
    for (const Case& limits : {Case{0x1'0000'0001, 1}, Case{2, 0x8000'0001},
                               Case{std::numeric_limits<std::size_t>::max() / 10 + 1, 10},
                               Case{std::size_t{1} << 63, 2}, Case{SIZE_MAX, UINT_MAX}}) {
        constexpr std::size_t many = 12;
        CJobQueue queue(std::make_shared<CThreadPool>(limits.spareLimit), limits.factor);
        Blockade blocking(queue);
        blocking.Queue(many, isBlocking);
        blocking.WaitForEntered(many);
    }
}

TEST(JobQueue, JobsWithoutTermsStartInTheOrderOfSubmission) {
    CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
    for (const auto& terms : {std::shared_ptr<CJobTermsImpl>(), isBlocking}) {
        std::vector<int> order;
        std::vector<CJobTicket> tickets;
        for (int i = 0; i != 1000; ++i)
            tickets.push_back(queue.Queue([&order, i] { order.push_back(i); }, terms));
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
        ASSERT_EQ(order.size(), 1000U);
        for (int i = 0; i != 1000; ++i)
            ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(JobQueue, UsesTheInstalledPool) {
    const std::size_t before = threadPool->JobCount();
    CJobQueue queue;
    queue.Queue([] {}).Wait();
    EXPECT_GT(threadPool->JobCount(), before);
}

TEST(JobQueue, MakesAPoolOfItsOwnWhenNoneIsInstalled) {
    const std::shared_ptr<CThreadPool> installed = threadPool.GetShared();
    const std::size_t before = installed->JobCount();
    const std::size_t limit = CThreadPool().MaxSpareThreadCount();
    threadPool.Reset();
    std::size_t most = 0;
    {
        CJobQueue queue;
        Blockade normal(queue);
        normal.Queue(limit + 1);
        normal.WaitForEntered(limit);
        normal.Open();
        most = normal.Most();
    }
    threadPool = installed;
    EXPECT_EQ(most, limit);
    EXPECT_EQ(installed->JobCount(), before);
}

TEST(JobQueue, TheProcessWideQueueIsThereAndUsesTheProcessWidePool) {
    const std::size_t before = threadPool->JobCount();
    bool ran = false;
    jobQueue->Queue([&] { ran = true; }).Wait();
    EXPECT_TRUE(ran);
    EXPECT_GT(threadPool->JobCount(), before);
}

TEST(JobQueueRemove, WithdrawsAWaitingJobOnce) {
    CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
    Blockade blockade(queue);
    blockade.Queue(1);
    std::atomic<bool> ran{false};
    const CJobTicket waiting = queue.Queue([&] { ran = true; });
    EXPECT_TRUE(queue.Remove(waiting));
    EXPECT_FALSE(queue.Remove(waiting));
    EXPECT_TRUE(waiting.Wait(0));
    waiting.Wait();
    std::optional<std::string> error = "before";
    waiting.Wait(error);
    EXPECT_EQ(error, std::nullopt);
    blockade.Open();
    EXPECT_FALSE(ran);
}

TEST(JobQueueRemove, FindsJobsOfEitherLaneAndOfEveryKindOfTerms) {
    CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
    Blockade normal(queue), blocking(queue);
    normal.Queue(1);
    blocking.Queue(1, isBlocking);
    normal.WaitForEntered(1);
    blocking.WaitForEntered(1);
    const CJobTicket running = queue.Queue([] {});
    const auto postpone = condition([] { return StartInfo::Postpone; });
    for (const auto& lane : {std::shared_ptr<CJobTermsImpl>(), isBlocking})
        for (const auto& terms :
             {std::shared_ptr<CJobTermsImpl>(), after(running), dependsOn(running), postpone,
              after(running) & postpone, dependsOn(running) & after(running)}) {
            const CJobTicket waiting = queue.Queue([] {}, lane & terms);
            EXPECT_FALSE(waiting.Wait(0));
            EXPECT_TRUE(queue.Remove(waiting));
            EXPECT_TRUE(waiting.Wait(0));
            EXPECT_FALSE(queue.Remove(waiting));
        }
}

TEST(JobQueueRemove, ARunningJobCompletes) {
    CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
    Event started, release;
    bool completed = false;
    const CJobTicket running = queue.Queue([&] {
        started.Set();
        release.Wait();
        completed = true;
    });
    started.Wait();
    EXPECT_FALSE(queue.Remove(running));
    release.Set();
    running.Wait();
    EXPECT_TRUE(completed);
    EXPECT_FALSE(queue.Remove(running));
}

TEST(JobQueueRemove, KnowsOnlyItsOwnJobs) {
    const auto pool = std::make_shared<CThreadPool>(1);
    CJobQueue queue(pool, 1), other(pool, 1);
    Blockade blockade(queue);
    blockade.Queue(1);
    const CJobTicket waiting = queue.Queue([] {});
    EXPECT_FALSE(other.Remove(waiting));
    EXPECT_FALSE(other.Remove(CJobTicket()));
    Event release;
    const CJobTicket started = pool->Start([&] { release.Wait(); });
    EXPECT_FALSE(queue.Remove(started));
    release.Set();
    started.Wait();
    EXPECT_TRUE(queue.Remove(waiting));
}

TEST(JobQueueRemove, AJobCannotRemoveItself) {
    CJobQueue queue(std::make_shared<CThreadPool>(1), 1);
    bool removed = true;
    queue.Queue([&] { removed = queue.Remove(thisJob()); }).Wait();
    EXPECT_FALSE(removed);
}

} // namespace
