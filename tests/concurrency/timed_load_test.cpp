// Ten thousand timed jobs at once, and what it costs when none is due.
#include <windows.h>

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "support/eventually.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

/// The processor time that the process has used.
std::chrono::nanoseconds ProcessorTime() {
    FILETIME created, ended, kernel, user;
    EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user));
    const auto ticks = [](const FILETIME& time) {
        return (std::int64_t{time.dwHighDateTime} << 32) + time.dwLowDateTime;
    };
    return std::chrono::nanoseconds(100 * (ticks(kernel) + ticks(user)));
}

long long ToMilliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

TEST(TimedLoad, TenThousandJobsForTenSecondsNeverOverlapThemselves) {
    constexpr std::size_t jobCount = 10'000;
    struct Watched {
        std::atomic<int> running{0};
        std::atomic<int> runs{0};
    };
    kq_test::Random random(kq_test::Seed(), 0);
    std::atomic<int> overlaps{0};
    const auto jobs = std::make_shared<std::array<Watched, jobCount>>();
    const auto begin = Clock::now();
    std::vector<TimedJobTicket> tickets;
    for (Watched& job : *jobs)
        tickets.push_back(GetTimedJobScheduler().Register(
            [jobs, &job, &overlaps](const TimedJobTicket&) {
                if (job.running.fetch_add(1) != 0)
                    ++overlaps;
                ++job.runs;
                job.running.fetch_sub(1);
            },
            std::chrono::milliseconds(1 + random.Below(1'000)), true));
    const auto registered = Clock::now();
    std::this_thread::sleep_for(begin + 10s - registered);

    const auto ending = Clock::now();
    for (const TimedJobTicket& ticket : tickets)
        EXPECT_TRUE(GetTimedJobScheduler().Unregister(ticket));
    const auto unregistered = Clock::now();
    EXPECT_TRUE(kq_test::Eventually([&] { return jobs.use_count() == 1; }));
    EXPECT_EQ(overlaps, 0);
    long long runs = 0;
    std::size_t served = 0;
    for (const Watched& job : *jobs) {
        runs += job.runs;
        served += job.runs != 0 ? 1 : 0;
    }
    EXPECT_GT(runs, 0);
    std::printf(
        "%lld runs of %zu jobs; registered in %lld ms, unregistered in %lld ms, %lld ms of "
        "processor time\n",
        runs, served, ToMilliseconds(registered - begin), ToMilliseconds(unregistered - ending),
        ToMilliseconds(ProcessorTime()));
}

TEST(TimedLoad, ATimedJobAnHourAwayCostsNoProcessorTime) {
    const TimedJobTicket ticket =
        GetTimedJobScheduler().Register([](const TimedJobTicket&) {}, 1h, true);
    // Until the loop sleeps and those that have ended are quiet.
    std::this_thread::sleep_for(500ms);
    const auto before = ProcessorTime();
    std::this_thread::sleep_for(5s);
    const auto used = ProcessorTime() - before;
    std::printf("%lld ms of processor time in 5 s\n", ToMilliseconds(used));
    EXPECT_LT(used, 250ms);
    EXPECT_TRUE(GetTimedJobScheduler().IsIdle(ticket));
    EXPECT_TRUE(GetTimedJobScheduler().Unregister(ticket));
}

} // namespace
