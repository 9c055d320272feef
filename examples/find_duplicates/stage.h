// The same work on many files, as jobs.
#pragma once

#include "examine.h"
#include "scoped_jobs.h"
#include "tally.h"
#include "work.h"

#include <kq/progress/progress.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace find_duplicates {

/// Examines files in jobs on the process-wide queue, and then does one thing in a job that depends
/// on all of them. Ends with its scope: what has not started by then never does.
class Stage {
public:
    /// What to do with one file; called on several threads at once, for different files.
    using Examine = std::function<void(Candidate&, const OnRead&)>;
    /// How many bytes of a file that reads.
    using BytesOf = std::function<std::uint64_t(const Candidate&)>;

    /// Queues the jobs. They pass through `work`, count in `tally` what they have done, and each
    /// has a share of `progress` in proportion to what it has to do.
    Stage(std::vector<Candidate*> files, Examine examine, const BytesOf& bytesOf, Work& work,
          kq::progress::IProgress& progress, Tally& tally, const kq::concurrency::Job& afterwards);

    /// Blocks until all is done, and calls `meanwhile` ten times a second. Throws what it throws,
    /// and what made a job fail.
    void Wait(const std::function<void()>& meanwhile) const;

private:
    /// Some of the files, as the work of one job.
    struct Batch {
        std::size_t begin;
        std::size_t end;
        double effort;
    };

    /// `part` goes from 0 to 1 meanwhile.
    void ExamineBatch(const Batch& batch, kq::progress::IProgress& part) const;

    const std::vector<Candidate*> files_;
    const Examine examine_;
    Work& work_;
    Tally& tally_;
    ScopedJobs jobs_; // the last member, so that it ends before all that its jobs refer to
};

} // namespace find_duplicates
