// Main returns, whatever is queued or running.
#include <kq/kq.h>

#include "process/busy_pool.h"
#include "process/flag.h"
#include "process/forever.h"
#include "process/scenario.h"

#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using scenario::Close;

namespace {

// A ticket on a job that has begun and never ends.
CJobTicket BlockedJob() {
    const Flag begun;
    CJobTicket ticket = jobQueue->Queue(
        [begun] {
            begun.Set();
            BlockForever();
        },
        isBlocking);
    begun.Wait();
    return ticket;
}

} // namespace

SCENARIO(main_returns_without_having_used_anything) { Close(); }

SCENARIO(main_returns_while_pool_threads_are_idle) {
    const Countdown met(ComputingLimit());
    std::vector<CJobTicket> tickets;
    for (std::size_t job = 0; job != ComputingLimit(); ++job)
        tickets.push_back(jobQueue->Queue([met] {
            met.Arrive();
            met.Wait();
        }));
    for (const CJobTicket& ticket : tickets)
        ticket.Wait();
    while (threadPool->SpareThreadCount() == 0)
        SwitchToThread();
    Close();
}

SCENARIO(main_returns_while_jobs_compute) {
    Occupy(ComputingLimit(), ComputeForever);
    Occupy(2, ComputeForever, isBlocking);
    Close();
}

SCENARIO(main_returns_while_jobs_block) {
    Occupy(ComputingLimit(), BlockForever);
    Occupy(BlockingLimit(), BlockForever, isBlocking);
    Close();
}

SCENARIO(main_returns_while_jobs_of_the_pool_itself_run) {
    const Countdown begun(8);
    for (int job = 0; job != 8; ++job)
        threadPool->Start([begun] {
            begun.Arrive();
            BlockForever();
        });
    begun.Wait();
    Close();
}

SCENARIO(main_returns_while_a_condition_never_answers_start) {
    // Enough passes for the dispatcher to have begun to pause between them.
    const Countdown asked(100);
    jobQueue->Queue([] {}, condition([asked] {
                        asked.Arrive();
                        return StartInfo::Postpone;
                    }));
    asked.Wait();
    Close();
}

SCENARIO(main_returns_inside_a_condition) {
    const Flag asked;
    jobQueue->Queue([] {}, condition([asked]() -> StartInfo {
                        asked.Set();
                        BlockForever();
                    }));
    asked.Wait();
    Close();
}

SCENARIO(main_returns_with_jobs_queued) {
    Occupy(ComputingLimit(), BlockForever);
    Occupy(BlockingLimit(), BlockForever, isBlocking);
    for (int job = 0; job != 10'000; ++job) {
        jobQueue->Queue([] {});
        jobQueue->Queue([] {}, isBlocking);
    }
    Close();
}

SCENARIO(main_returns_while_jobs_wait_for_tickets) {
    const CJobTicket blocked = BlockedJob();
    CJobTicket last = blocked;
    for (int job = 0; job != 1'000; ++job) {
        jobQueue->Queue([] {}, after(blocked));
        last = jobQueue->Queue([] {}, dependsOn(last));
        jobQueue->Queue([] {}, after(blocked) & condition([] { return StartInfo::Start; }));
    }
    Close();
}

SCENARIO(main_returns_while_all_that_is_pending_waits_for_one_ticket) {
    const CJobTicket blocked = BlockedJob();
    // The lane for computing jobs runs nothing: its last dispatcher sleeps.
    jobQueue->Queue([] {}).Wait();
    jobQueue->Queue([] {}, after(blocked));
    Close();
}

SCENARIO(main_returns_while_host_threads_wait_for_tickets) {
    const CJobTicket blocked = BlockedJob();
    const Countdown arrived(4);
    const auto start = [arrived](auto wait) {
        std::thread([arrived, wait] {
            arrived.Arrive();
            wait();
        }).detach();
    };
    start([blocked] { blocked.Wait(); });
    start([blocked] {
        std::optional<std::string> error;
        blocked.Wait(error);
    });
    start([blocked] { blocked.Wait(~0ul); });
    start([blocked] {
        while (!blocked.Wait(1ul)) {
        }
    });
    arrived.Wait();
    Close();
}

SCENARIO(main_returns_while_a_job_waits_for_a_job) {
    const CJobTicket blocked = BlockedJob();
    const Flag waits;
    jobQueue->Queue([blocked, waits] {
        waits.Set();
        blocked.Wait();
    });
    waits.Wait();
    Close();
}

SCENARIO(main_returns_after_a_shutdown) {
    jobQueue->Queue([] {}).Wait();
    kq::Shutdown();
    Close();
}

SCENARIO(main_returns_with_services_that_were_started_again) {
    kq::Shutdown();
    kq::Startup();
    Occupy(ComputingLimit(), BlockForever);
    Close();
}
