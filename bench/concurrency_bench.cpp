// What a job costs: the job queue beside the platform's thread pool, Boost.Asio's, Debian's
// libthread-pool and std::async.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "concurrency/rows.h"
#include "sections.h"

/// concurrency_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    // The memory first, while the process has none left over that could be used again.
    return bench::RunSections("concurrency_bench", "kq job system",
                              {{"memory", bench::PendingJobMemory},
                               {"empty", bench::EmptyJobs},
                               {"growth", bench::Growth},
                               {"submitters", bench::ManySubmitters},
                               {"relay", bench::Relays},
                               {"wake", bench::WakeUps},
                               {"dependencies", bench::Dependencies},
                               {"idle", bench::IdleWaiters},
                               {"remove", bench::Removal},
                               {"ui", bench::UIJobs},
                               {"timed", bench::TimedJobs}},
                              argc, argv);
}
