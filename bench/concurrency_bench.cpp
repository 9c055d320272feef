// What a job costs: the job queue beside the platform's thread pool, Boost.Asio's and std::async.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include <kq/library.h>

#include "concurrency/rows.h"

#include <cstdio>
#include <exception>
#include <thread>

int main() {
    try {
        const kq::Session session;
        std::printf("kq job system, %u processors: medians and quartiles of interleaved rounds\n",
                    std::thread::hardware_concurrency());
        bench::PendingJobMemory();
        bench::EmptyJobs();
        bench::ManySubmitters();
        bench::Relays();
        bench::WakeUps();
        bench::Dependencies();
        bench::IdleWaiters();
        bench::Removal();
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "concurrency_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
