// Timed jobs that come and go from several threads at once, on the real clock.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "support/eventually.h"
#include "support/hand_shake.h"
#include "support/seed.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

using namespace kq::concurrency;
using kq_test::Random;
using Milliseconds = std::chrono::milliseconds;

namespace {

/// What is known of one timed job; shared with its callback.
struct Watched {
    std::atomic<int> running{0};
    std::atomic<int> begun{0};
    std::atomic<bool> hasOverlapped{false};
    bool repeat = false;
    bool isUnregistered = false;
    int begunWhenUnregistered = 0;
    TimedJobTicket ticket;
};

class Job {
public:
    Job(std::shared_ptr<Watched> watched, std::uint32_t yields) noexcept
        : watched_(std::move(watched)), yields_(yields) {}

    void operator()(const TimedJobTicket& /*ticket*/) const {
        if (watched_->running.fetch_add(1) != 0)
            watched_->hasOverlapped = true;
        ++watched_->begun;
        for (std::uint32_t turn = 0; turn != yields_; ++turn)
            std::this_thread::yield();
        watched_->running.fetch_sub(1);
    }

private:
    std::shared_ptr<Watched> watched_;
    std::uint32_t yields_;
};

class TimedStress : public testing::Test {
protected:
    using Jobs = std::deque<std::shared_ptr<Watched>>;

    static std::shared_ptr<Watched> RegisterOne(Random& random) {
        auto job = std::make_shared<Watched>();
        job->repeat = random.OneIn(2);
        job->ticket = GetTimedJobScheduler().Register(Job(job, random.Below(20)),
                                                      Milliseconds(random.Below(4)), job->repeat);
        return job;
    }

    static void UnregisterOne(Watched& job) {
        if (job.isUnregistered)
            return;
        // A job that does not repeat may have had its run.
        const bool wasRegistered = GetTimedJobScheduler().Unregister(job.ticket);
        job.begunWhenUnregistered = job.begun;
        job.isUnregistered = wasRegistered;
        EXPECT_TRUE(wasRegistered || !job.repeat);
        EXPECT_FALSE(GetTimedJobScheduler().IsIdle(job.ticket));
    }

    static void ComeAndGo(Random random, Jobs& jobs) {
        constexpr int steps = 1'500;
        for (int step = 0; step != steps; ++step) {
            switch (random.Below(4)) {
                case 0:
                case 1:
                    jobs.push_back(RegisterOne(random));
                    break;
                case 2:
                    if (!jobs.empty())
                        UnregisterOne(*jobs[random.Below(static_cast<std::uint32_t>(jobs.size()))]);
                    break;
                default:
                    std::this_thread::yield();
                    break;
            }
        }
    }
};

TEST_F(TimedStress, NoJobOverlapsItselfAndNoneRunsAfterItWasUnregistered) {
    constexpr std::uint32_t threadCount = 4;
    const std::uint32_t seed = kq_test::Seed();
    std::vector<Jobs> jobs(threadCount);
    std::vector<std::thread> threads;
    for (std::uint32_t index = 0; index != threadCount; ++index)
        threads.emplace_back([&, index] { ComeAndGo(Random(seed, index), jobs[index]); });
    for (std::thread& thread : threads)
        thread.join();

    for (const Jobs& ofThread : jobs)
        for (const auto& job : ofThread) {
            // What was not unregistered runs; at least once, and only once unless it repeats.
            if (!job->isUnregistered) {
                EXPECT_TRUE(kq_test::Eventually([&] { return job->begun != 0; }));
            }
            if (job->repeat && !job->isUnregistered)
                UnregisterOne(*job);
        }
    // Until nobody holds a callback but this test: then nothing can run any more.
    for (const Jobs& ofThread : jobs)
        for (const auto& job : ofThread)
            EXPECT_TRUE(kq_test::Eventually([&] { return job.use_count() == 1; }));
    for (const Jobs& ofThread : jobs)
        for (const auto& job : ofThread) {
            EXPECT_FALSE(job->hasOverlapped);
            if (!job->repeat) {
                EXPECT_LE(job->begun, 1);
            }
            // One run may have been on its way into the callback.
            if (job->isUnregistered) {
                EXPECT_LE(job->begun, job->begunWhenUnregistered + 1);
            }
        }
    std::size_t count = 0;
    for (const Jobs& ofThread : jobs)
        count += ofThread.size();
    kq_test::ReportStress(1, count);
}

TEST_F(TimedStress, WhenUnregisterHasReturnedAndTheRunsOnTheirWayAreOverNothingRuns) {
    Random random(kq_test::Seed(), 0);
    constexpr int rounds = 300;
    for (int round = 0; round != rounds; ++round) {
        const std::shared_ptr<Watched> job = RegisterOne(random);
        for (std::uint32_t turn = random.Below(200); turn != 0; --turn)
            std::this_thread::yield();
        UnregisterOne(*job);
        if (!job->isUnregistered)
            continue;
        // The callback is held by the one run at most that had begun; when that is over, by nobody.
        EXPECT_TRUE(kq_test::Eventually([&] { return job.use_count() == 1; }));
        EXPECT_LE(job->begun, job->begunWhenUnregistered + 1);
        EXPECT_FALSE(job->hasOverlapped);
    }
    kq_test::ReportStress(rounds, rounds);
}

TEST_F(TimedStress, ARunDoesNotBeginAfterItsJobWasUnregisteredByTheRunBefore) {
    // Every interval is over before the run is.
    constexpr int jobCount = 200;
    std::atomic<int> late{0};
    kq_test::Counter ended;
    for (int job = 0; job != jobCount; ++job)
        GetTimedJobScheduler().Register(
            [&late, &ended,
             isOver = std::make_shared<std::atomic<bool>>(false)](const TimedJobTicket& own) {
                if (*isOver)
                    ++late;
                if (GetTimedJobScheduler().Unregister(own)) {
                    *isOver = true;
                    ended.Add();
                }
            },
            Milliseconds(job % 2), true);
    ended.WaitFor(jobCount);
    // Whatever was queued before this has run.
    for (int round = 0; round != 10; ++round)
        jobQueue->Queue([] {}).Wait();
    EXPECT_EQ(late, 0);
}

} // namespace
