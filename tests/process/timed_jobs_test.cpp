// Timed jobs at the end of a process and of the services.
#include <kq/kq.h>

#include <process/busy_pool.h>
#include <process/flag.h>
#include <process/scenario.h>
#include <process/services.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <utility>
#include <vector>

using namespace kq::concurrency;
using namespace std::chrono_literals;
using scenario::Close;

namespace {

void DoNothing(const TimedJobTicket& /*ticket*/) {}

TimedJobTicket Once(std::chrono::milliseconds interval,
                    std::function<void(const TimedJobTicket&)> job) {
    return GetTimedJobScheduler().Register(std::move(job), interval, false);
}

TimedJobTicket Repeat(std::chrono::milliseconds interval,
                      std::function<void(const TimedJobTicket&)> job) {
    return GetTimedJobScheduler().Register(std::move(job), interval, true);
}

// Timed jobs that run all the time: returns when each has run at least once.
void KeepTimedJobsRunning(std::size_t count) {
    const Countdown ran(count);
    for (std::size_t job = 0; job != count; ++job)
        Repeat(std::chrono::milliseconds(job % 3),
               [ran, isFirst = std::make_shared<std::atomic<bool>>(true)](const TimedJobTicket&) {
                   if (isFirst->exchange(false))
                       ran.Arrive();
               });
    ran.Wait();
}

// Timed jobs of all kinds, at some point of their lives.
void HaveTimedJobsAtRandom() {
    std::mt19937 random(scenario::Seed());
    const auto below = [&random](unsigned int bound) { return random() % bound; };
    std::vector<TimedJobTicket> tickets;
    for (unsigned int job = below(200); job != 0; --job) {
        const std::chrono::milliseconds interval(below(20));
        switch (below(4)) {
            case 0:
                tickets.push_back(Once(interval, DoNothing));
                break;
            case 1:
                tickets.push_back(Repeat(interval, DoNothing));
                break;
            case 2:
                tickets.push_back(Repeat(interval, [](const TimedJobTicket&) { Sleep(3); }));
                break;
            default:
                if (!tickets.empty())
                    GetTimedJobScheduler().Unregister(
                        tickets[below(static_cast<unsigned int>(tickets.size()))]);
                break;
        }
    }
    Sleep(below(30));
}

} // namespace

SCENARIO(timed_jobs_are_numbered_from_1_across_schedulers) {
    CHECK(Once(1h, DoNothing)->id == 1);
    CHECK(Repeat(1h, DoNothing)->id == 2);
    StartupJobScheduler();
    CHECK(Once(1h, DoNothing)->id == 3);
    kq::Shutdown();
    kq::Startup();
    CHECK(Once(1h, DoNothing)->id == 4);
    Close();
}

SCENARIO(main_returns_with_timed_jobs_registered) {
    for (int job = 0; job != 1'000; ++job)
        Repeat(1h, DoNothing);
    Close();
}

SCENARIO(main_returns_with_timed_jobs_due) {
    Occupy(ComputingLimit(), BlockForever);
    for (int job = 0; job != 1'000; ++job) {
        Once(0ms, DoNothing);
        Repeat(0ms, DoNothing);
    }
    Close();
}

SCENARIO(main_returns_while_timed_jobs_run) {
    const Countdown begun(ComputingLimit());
    for (std::size_t job = 0; job != ComputingLimit(); ++job)
        Once(0ms, [begun](const TimedJobTicket&) {
            begun.Arrive();
            BlockForever();
        });
    begun.Wait();
    Close();
}

SCENARIO(main_returns_while_timed_jobs_are_scheduled_all_the_time) {
    KeepTimedJobsRunning(100);
    Close();
}

SCENARIO(main_returns_with_timed_jobs_at_random) {
    HaveTimedJobsAtRandom();
    Close();
}

SCENARIO(a_timed_job_ends_the_process) {
    KeepTimedJobsRunning(10);
    Once(5ms, [](const TimedJobTicket&) {
        Close();
        std::exit(scenario::cleanExit);
    });
    BlockForever();
}

SCENARIO(shutdown_with_timed_jobs_registered) {
    const auto token = std::make_shared<int>(0);
    for (int job = 0; job != 1'000; ++job)
        Repeat(1h, [token](const TimedJobTicket&) {});
    kq::Shutdown();
    CHECK(token.use_count() == 1);
    CHECK(!HasTimedJobScheduler());
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(shutdown_runs_the_timed_jobs_whose_runs_are_queued) {
    // Every thread of the lane is occupied until the services shut down, so the runs have to wait.
    const Countdown occupied(ComputingLimit());
    for (std::size_t job = 0; job != ComputingLimit(); ++job)
        jobQueue->Queue([occupied] {
            occupied.Arrive();
            AwaitShutdown();
        });
    occupied.Wait();
    std::atomic<int> ran{0};
    std::vector<TimedJobTicket> tickets;
    for (int job = 0; job != 100; ++job)
        tickets.push_back(Repeat(1ms, [&ran](const TimedJobTicket&) { ++ran; }));
    for (const TimedJobTicket& ticket : tickets)
        while (GetTimedJobScheduler().IsIdle(ticket))
            SwitchToThread();
    CHECK(ran == 0);
    kq::Shutdown();
    CHECK(ran == 100);
    Close();
}

SCENARIO(shutdown_waits_for_the_timed_job_that_runs) {
    const Flag begun;
    std::atomic<bool> ended{false};
    Repeat(0ms, [&ended, begun](const TimedJobTicket&) {
        begun.Set();
        AwaitShutdown();
        ended = true;
    });
    begun.Wait();
    kq::Shutdown();
    CHECK(ended);
    Close();
}

SCENARIO(shutdown_while_timed_jobs_are_scheduled_all_the_time) {
    const auto token = std::make_shared<int>(0);
    for (int job = 0; job != 100; ++job)
        Repeat(std::chrono::milliseconds(job % 2), [token](const TimedJobTicket&) {});
    KeepTimedJobsRunning(100);
    kq::Shutdown();
    // Nobody is left who could run one.
    CHECK(token.use_count() == 1);
    Close();
}

SCENARIO(shutdown_with_timed_jobs_at_random) {
    for (int life = 0; life != 5; ++life) {
        HaveTimedJobsAtRandom();
        kq::Shutdown();
        CHECK(!HasTimedJobScheduler());
        kq::Startup();
    }
    Close();
}

SCENARIO(shutdown_after_a_timed_job_has_shut_the_scheduler_down) {
    const Flag ended;
    Repeat(1h, DoNothing);
    Once(0ms, [ended](const TimedJobTicket&) {
        ShutdownJobScheduler();
        ended.Set();
    });
    ended.Wait();
    kq::Shutdown();
    Close();
}

SCENARIO(shutdown_ends_the_scheduler_that_a_job_starts_meanwhile) {
    const Flag registered;
    jobQueue->Queue([registered] {
        AwaitShutdown();
        StartupJobScheduler();
        Repeat(1h, DoNothing);
        registered.Set();
    });
    kq::Shutdown();
    CHECK(registered.IsSet());
    CHECK(!HasTimedJobScheduler());
    Close();
}

SCENARIO(timed_jobs_run_again_after_a_shutdown_and_a_startup) {
    KeepTimedJobsRunning(10);
    kq::Shutdown();
    kq::Startup();
    CHECK(HasTimedJobScheduler());
    KeepTimedJobsRunning(10);
    kq::Shutdown();
    Close();
}
