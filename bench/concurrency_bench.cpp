// What a job costs: the job queue beside the platform's thread pool, Boost.Asio's and std::async.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "concurrency/rows.h"
#include "sections.h"

namespace {

// The memory first, while the process has none left over that could be used again.
constexpr bench::Section sections[] = {
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
    return bench::RunSections("concurrency_bench", "kq job system", sections,
                              {argv + 1, argv + argc});
}
