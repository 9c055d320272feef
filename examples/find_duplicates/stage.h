// The same work on many files, as jobs.
#pragma once

#include "examine.h"
#include "scoped_jobs.h"
#include "tally.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace find_duplicates {

/// Examines files in jobs on the process-wide queue, and then does one thing in a job that depends
/// on all of them. Ends with its scope: what has not started by then never does.
class Stage {
public:
    /// What to do with one file; called on several threads at once, for different files.
    using Examine = std::function<void(Candidate&, const OnRead&)>;

    /// Queues the jobs. They count in `tally` what they have done.
    Stage(std::vector<Candidate*> files, Examine examine, Tally& tally,
          const kq::concurrency::Job& afterwards);

    /// Blocks until all is done, and calls `meanwhile` ten times a second. Throws what it throws,
    /// and what made a job fail.
    void Wait(const std::function<void()>& meanwhile) const;

private:
    void ExamineBatch(std::size_t begin, std::size_t end) const;

    const std::vector<Candidate*> files_;
    const Examine examine_;
    Tally& tally_;
    ScopedJobs jobs_; // the last member, so that it ends before all that its jobs refer to
};

} // namespace find_duplicates
