// Timed jobs when memory runs out.
#include "faults/each_allocation.h"
#include "support/timed_jobs_on_manual_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

using namespace kq::concurrency;

namespace {

class TimedJobFaults : public kq_test::TimedJobsOnManualClock {};

// What could not be registered does not run, and the next one does.
TEST_F(TimedJobFaults, RegisteringWithoutMemoryTellsTheCallerAndLeavesNothing) {
    using namespace std::chrono_literals;
    struct Subject {
        std::shared_ptr<TimedJobs> jobs = std::make_shared<TimedJobs>();
        std::shared_ptr<int> held = std::make_shared<int>();

        TimedJobTicket Register(std::chrono::milliseconds interval, kq_test::Counter* runs) const {
            return jobs->Register(
                [held = held, runs](const TimedJobTicket&) {
                    if (runs != nullptr)
                        runs->Add();
                },
                interval, false);
        }
        ~Subject() { jobs->Close(); }
    };
    EXPECT_GT(
        kq_test::FailEachAllocation(
            [] { return std::make_unique<Subject>(); },
            [](Subject& subject) { subject.Register(1h, nullptr); },
            [this](Subject& subject) {
                kq_test::Counter runs;
                subject.Register(0ms, &runs);
                runs.WaitFor(1, "the run of a timed job");
                subject.jobs->Close();
                AwaitNoLoop();
                AwaitRuns();
                EXPECT_TRUE(kq_test::Eventually([&] { return subject.held.use_count() == 1; }));
            },
            // The pools of the process keep threads of which there are more or fewer.
            kq_test::Leftovers::Ignore),
        0);
}

} // namespace
