// What a job costs besides memory, counted: locks, wake-ups, kernel objects. The hot path must not
// grow unnoticed. The library's sources are compiled with a mutex that counts.
#include <kq/concurrency/job_queue.h>

#include "thread/mutex.h"

#include "support/handle_level.h"
#include "support/wake_ups.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <utility>
#include <vector>

namespace {

using namespace kq::concurrency;

constexpr std::size_t jobCount = 10'000;

struct Costs {
    double locks;
    double wakeUps;
};

/// Locks and wake-ups since its construction.
class CostCounter {
public:
    Costs PerJob(std::size_t jobs) const {
        const auto count = static_cast<double>(jobs);
        const Costs costs{static_cast<double>(kq_test::lockCount - locks_) / count,
                          static_cast<double>(kq_test::wakeUpCount - wakeUps_) / count};
        std::printf("a job: %.4f locks, %.4f wake-ups\n", costs.locks, costs.wakeUps);
        return costs;
    }

private:
    const std::size_t locks_ = kq_test::lockCount;
    const std::size_t wakeUps_ = kq_test::wakeUpCount;
};

/// A queue that runs one job at a time. Its only dispatcher is held back while jobs are queued, so
/// that what is counted does not depend on who comes first.
class JobCosts : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(kq_test::CountWakeUps()); }

    JobCosts() { tickets_.reserve(jobCount + 1); }

    /// The costs of queuing and running what `queueAll` queues. `whilePending` is called between.
    Costs CostsOf(
        const std::function<void()>& queueAll, const std::function<void()>& whilePending = [] {}) {
        std::promise<void> begun;
        std::promise<void> go;
        const CJobTicket gate = queue_.Queue([&begun, released = go.get_future().share()] {
            begun.set_value();
            released.wait();
        });
        begun.get_future().wait();
        const CostCounter counter;
        queueAll();
        whilePending();
        go.set_value();
        tickets_.back().Wait();
        const Costs costs = counter.PerJob(tickets_.size());
        for (const CJobTicket& ticket : tickets_)
            ticket.Wait();
        gate.Wait();
        tickets_.clear();
        return costs;
    }

    void Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms = {}) {
        tickets_.push_back(queue_.Queue(std::move(job), terms));
    }

    std::vector<CJobTicket> tickets_;
    CJobQueue queue_{std::make_shared<CThreadPool>(1), 1};
};

TEST_F(JobCosts, OfJobsThatAreReady) {
    std::size_t runs = 0;
    const Costs costs = CostsOf([&] {
        for (std::size_t i = 0; i != jobCount; ++i)
            Queue([&runs] { ++runs; });
    });
    EXPECT_LT(costs.locks, 2.1);
    EXPECT_LT(costs.wakeUps, 0.01);
    EXPECT_EQ(runs, jobCount);
}

TEST_F(JobCosts, OfAChainOfJobs) {
    std::size_t runs = 0;
    const Costs costs = CostsOf([&] {
        Queue([] {});
        for (std::size_t i = 0; i != jobCount; ++i)
            Queue([&runs] { ++runs; }, after(tickets_.back()));
    });
    EXPECT_LT(costs.locks, 3.1);
    EXPECT_LT(costs.wakeUps, 0.01);
    EXPECT_EQ(runs, jobCount);
}

TEST_F(JobCosts, OfAJobThatDependsOnManyOthers) {
    const Costs costs = CostsOf([&] {
        for (std::size_t i = 0; i != jobCount; ++i)
            Queue([] {});
        Queue([] {}, dependsOn(tickets_));
    });
    EXPECT_LT(costs.locks, 3.1);
    EXPECT_LT(costs.wakeUps, 0.01);
}

// The dispatcher may or may not have fallen asleep in between: at most it is woken once, and the
// one who waits for the job once.
TEST_F(JobCosts, OfJobsThatAreWaitedForOneByOne) {
    constexpr std::size_t rounds = 2'000;
    queue_.Queue([] {}).Wait();
    const CostCounter counter;
    for (std::size_t round = 0; round != rounds; ++round)
        queue_.Queue([] {}).Wait();
    const Costs costs = counter.PerJob(rounds);
    EXPECT_LT(costs.locks, 7.1); // with a dispatcher that sleeps each time
    EXPECT_LT(costs.wakeUps, 2.1);
}

TEST_F(JobCosts, IncludeNoKernelObject) {
    CostsOf([&] { Queue([] {}); }); // the pool's thread is there
    const std::uintptr_t before = HandleLevel();
    std::uintptr_t pending = 0;
    CostsOf(
        [&] {
            for (std::size_t i = 0; i != jobCount; ++i)
                Queue([] {});
        },
        [&pending] { pending = HandleLevel(); });
    // The promises of the test have a few.
    EXPECT_LT(pending, before + 100);
}

} // namespace
