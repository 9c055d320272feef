// Jobs when memory or threads run out: the caller is told, and every job ends.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>

#include "faults/each_allocation.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

using namespace kq::concurrency;
using kq_test::FailEachAllocation;

namespace {

constexpr unsigned long limitMilliseconds = 30'000;

/// A pool or a queue with what became of the jobs that it was given.
struct Jobs {
    explicit Jobs(const ThreadFactory& factory = {})
        : pool(std::make_shared<CThreadPool>(1, std::chrono::duration<int>(0), factory)),
          queue(pool, 2) {}

    /// Counts its runs, and how many copies of it there are.
    Job NewJob() {
        return Job([this, held = held] { ++runs; });
    }

    /// Whether nobody holds a job any more.
    bool AllHaveEnded() const { return held.use_count() == 1; }

    std::shared_ptr<int> held = std::make_shared<int>();
    std::atomic<int> runs{0};
    std::shared_ptr<CThreadPool> pool;
    CJobQueue queue;
};

/// More jobs, of both lanes: they run, and so has every job that was queued before.
void UseQueue(Jobs& jobs) {
    const int before = jobs.runs;
    EXPECT_TRUE(jobs.queue.Queue(jobs.NewJob()).Wait(limitMilliseconds));
    EXPECT_TRUE(jobs.queue.Queue(jobs.NewJob(), isBlocking).Wait(limitMilliseconds));
    EXPECT_GE(jobs.runs, before + 2);
    EXPECT_TRUE(kq_test::Eventually([&] { return jobs.AllHaveEnded(); }));
    EXPECT_LE(jobs.runs, 3);
}

void UsePool(Jobs& jobs) {
    EXPECT_TRUE(jobs.pool->Start(jobs.NewJob()).Wait(limitMilliseconds));
    EXPECT_TRUE(jobs.pool->Start(jobs.NewJob()).Wait(limitMilliseconds));
    EXPECT_TRUE(kq_test::Eventually([&] { return jobs.AllHaveEnded(); }));
    EXPECT_LE(jobs.runs, 3);
}

std::unique_ptr<Jobs> Fresh() { return std::make_unique<Jobs>(); }

/// With a thread that waits for work.
std::unique_ptr<Jobs> Warm() {
    auto jobs = Fresh();
    jobs->pool->Start([] {}).Wait();
    return jobs;
}

TEST(JobFaults, QueuingTheFirstJobWithoutMemoryTellsTheCaller) {
    EXPECT_GT(FailEachAllocation(
                  Fresh, [](Jobs& jobs) { jobs.queue.Queue(jobs.NewJob()); }, UseQueue),
              0);
}

TEST(JobFaults, QueuingBehindAnotherJobWithoutMemoryTellsTheCaller) {
    EXPECT_GT(FailEachAllocation(
                  Warm,
                  [](Jobs& jobs) {
                      const CJobTicket first = jobs.queue.Queue([] {});
                      jobs.queue.Queue(jobs.NewJob(), after(first) & isBlocking);
                  },
                  UseQueue),
              0);
}

TEST(JobFaults, StartingOnThePoolWithoutMemoryTellsTheCaller) {
    EXPECT_GT(FailEachAllocation(
                  Fresh, [](Jobs& jobs) { jobs.pool->Start(jobs.NewJob()); }, UsePool),
              0);
    EXPECT_GT(FailEachAllocation(
                  Warm, [](Jobs& jobs) { jobs.pool->Start(jobs.NewJob()); }, UsePool),
              0);
}

// Whoever got a ticket has his job run; of a failed submission the exception tells, and its job
// runs at most once.
template <class Submit>
void WithoutTheNthThread(Submit submit) {
    for (std::size_t refused = 1; refused != 5; ++refused)
        for (const bool throws : {false, true}) {
            SCOPED_TRACE(refused);
            kq_test::TestFactory factory([&](std::size_t call) {
                if (call == refused && throws)
                    throw std::bad_alloc();
                return call != refused;
            });
            Jobs jobs(factory.Function());
            std::vector<CJobTicket> tickets;
            std::size_t failures = 0;
            for (int job = 0; job != 8; ++job)
                try {
                    tickets.push_back(submit(jobs));
                } catch (const std::bad_alloc&) {
                    failures += throws ? 1 : 100;
                } catch (const std::runtime_error&) {
                    failures += throws ? 100 : 1;
                }
            EXPECT_LE(failures, 1u);
            for (const CJobTicket& ticket : tickets)
                EXPECT_TRUE(ticket.Wait(limitMilliseconds));
            EXPECT_GE(jobs.runs, static_cast<int>(tickets.size()));
            kq_test::ReturnsInTime("the use after a failure",
                                   [&] { EXPECT_TRUE(submit(jobs).Wait(limitMilliseconds)); });
            EXPECT_TRUE(kq_test::Eventually([&] { return jobs.AllHaveEnded(); }));
        }
}

TEST(JobFaults, AThreadThatCannotBeMadeCostsAtMostTheJobThatItWasFor) {
    WithoutTheNthThread([](Jobs& jobs) { return jobs.pool->Start(jobs.NewJob()); });
}

TEST(JobFaults, ADispatcherThatCannotBeStartedCostsNoOtherJob) {
    WithoutTheNthThread([](Jobs& jobs) { return jobs.queue.Queue(jobs.NewJob(), isBlocking); });
}

} // namespace
