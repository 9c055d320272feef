// What a job takes from the heap, counted: the hot path must not grow unnoticed.
#include <kq/concurrency/job_queue.h>

#include "support/allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <utility>
#include <vector>

namespace {

using namespace kq::concurrency;

constexpr std::size_t jobCount = 10'000;

/// A queue that runs one job at a time. Its only dispatcher is held back while jobs are queued, so
/// that none is started, which costs allocations, at a moment that the test does not know.
class JobAllocations : public testing::Test {
protected:
    JobAllocations() { tickets_.reserve(jobCount + 1); }

    /// The allocations of queuing and running what `queueAll` queues.
    std::size_t AllocationsOf(const std::function<void()>& queueAll) {
        std::promise<void> begun;
        std::promise<void> go;
        const CJobTicket gate = queue_.Queue([&begun, released = go.get_future().share()] {
            begun.set_value();
            released.wait();
        });
        begun.get_future().wait();
        const std::size_t before = kq_test::Allocations();
        queueAll();
        go.set_value();
        for (const CJobTicket& ticket : tickets_)
            ticket.Wait();
        const std::size_t result = kq_test::Allocations() - before;
        gate.Wait();
        tickets_.clear();
        return result;
    }

    void Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms = {}) {
        tickets_.push_back(queue_.Queue(std::move(job), terms));
    }

    std::vector<CJobTicket> tickets_;

private:
    CJobQueue queue_{std::make_shared<CThreadPool>(1), 1};
};

TEST_F(JobAllocations, NoneForAJobWithASmallCallable) {
    std::size_t runs = 0;
    EXPECT_EQ(AllocationsOf([&] {
                  for (std::size_t i = 0; i != jobCount; ++i)
                      Queue([&runs] { ++runs; });
              }),
              0u);
    EXPECT_EQ(runs, jobCount);
}

TEST_F(JobAllocations, NoneForAJobThatRunsAfterAnother) {
    std::size_t runs = 0;
    EXPECT_EQ(AllocationsOf([&] {
                  Queue([] {});
                  for (std::size_t i = 0; i != jobCount; ++i)
                      Queue([&runs] { ++runs; }, after(tickets_.back()));
              }),
              0u);
    EXPECT_EQ(runs, jobCount);
}

TEST_F(JobAllocations, NoneForAJobThatDependsOnTwoOthers) {
    std::size_t runs = 0;
    EXPECT_EQ(AllocationsOf([&] {
                  Queue([] {});
                  for (std::size_t i = 0; i != jobCount; ++i)
                      Queue([&runs] { ++runs; },
                            dependsOn(tickets_.back()) & dependsOn(tickets_.front()));
              }),
              0u);
    EXPECT_EQ(runs, jobCount);
}

TEST_F(JobAllocations, OneForALargeCallableThatIsMovedIn) {
    struct Large {
        std::size_t* runs;
        std::size_t more[8];
        void operator()() const { ++*runs; }
    };
    std::size_t runs = 0;
    EXPECT_EQ(AllocationsOf([&] {
                  for (std::size_t i = 0; i != jobCount; ++i)
                      Queue(Large{&runs, {}});
              }),
              jobCount);
    EXPECT_EQ(runs, jobCount);
}

} // namespace
