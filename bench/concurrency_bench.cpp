// What a job costs: the job queue beside the platform's thread pool, Boost.Asio's and std::async.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include <kq/library.h>

#include "concurrency/rows.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>
#include <thread>
#include <vector>

namespace {

struct Section {
    const char* name;
    void (*run)();
};

// The memory first, while the process has none left over that could be used again.
constexpr Section sections[] = {
    {"memory", bench::PendingJobMemory},
    {"empty", bench::EmptyJobs},
    {"submitters", bench::ManySubmitters},
    {"relay", bench::Relays},
    {"wake", bench::WakeUps},
    {"dependencies", bench::Dependencies},
    {"idle", bench::IdleWaiters},
    {"remove", bench::Removal},
};

} // namespace

/// concurrency_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    try {
        const kq::Session session;
        std::printf("kq job system, %u processors: medians and quartiles of interleaved rounds\n",
                    std::thread::hardware_concurrency());
        const std::vector<std::string_view> wanted(argv + 1, argv + argc);
        for (const Section& section : sections)
            if (wanted.empty() ||
                std::find(wanted.begin(), wanted.end(), section.name) != wanted.end())
                section.run();
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "concurrency_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
