// The process ends in the middle of everything.
#include <kq/kq.h>

#include "process/forever.h"
#include "process/scenario.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using scenario::cleanExit;
using scenario::Close;

namespace {

using Random = std::minstd_rand;

int Below(Random& random, int end) {
    return std::uniform_int_distribution<int>(0, end - 1)(random);
}

std::shared_ptr<CJobTermsImpl> RandomTerms(Random& random, const CJobTicket& ticket) {
    switch (Below(random, 6)) {
        case 0:
            return isBlocking;
        case 1:
            return after(ticket);
        case 2:
            return dependsOn(ticket) & isBlocking;
        case 3:
            return condition([random]() mutable {
                return Below(random, 20) == 0 ? StartInfo::Start : StartInfo::Postpone;
            });
        default:
            return nullptr;
    }
}

// Submits, waits, withdraws, names itself and makes pools, for ever.
[[noreturn]] void UseEverything(unsigned int seed,
                                const std::shared_ptr<std::atomic<int>>& finished) {
    Random random(seed);
    CJobTicket last;
    const auto job = [finished] {
        kq::thread::threadNameManager->SetCurrentName("busy");
        ++*finished;
    };
    for (;;) {
        switch (Below(random, 8)) {
            case 0:
                last.Wait(1ul);
                break;
            case 1:
                jobQueue->Remove(last);
                break;
            case 2:
                kq::thread::threadNameManager->SetCurrentName(std::to_string(random()));
                break;
            case 3: {
                CThreadPool pool(1, std::chrono::duration<int>(0));
                for (int start = Below(random, 4); start > 0; --start)
                    pool.Start(job);
                break;
            }
            default:
                last = jobQueue->Queue(job, RandomTerms(random, last));
        }
    }
}

void RunInto(void (*end)()) {
    Random random(scenario::Seed());
    const auto finished = std::make_shared<std::atomic<int>>(0);
    for (int user = 0; user != 4; ++user)
        std::thread(UseEverything, static_cast<unsigned int>(random()), finished).detach();
    const int enough = 1 + Below(random, 500);
    while (*finished < enough)
        SwitchToThread();
    Close();
    end();
}

} // namespace

SCENARIO(main_returns_amid_traffic_at_random) {
    RunInto([] {});
}

SCENARIO(main_calls_exit_process_amid_traffic_at_random) {
    RunInto([] { ExitProcess(cleanExit); });
}

SCENARIO(a_job_calls_exit_amid_traffic_at_random) {
    RunInto([] {
        threadPool->Start([] { std::exit(cleanExit); });
        BlockForever();
    });
}
