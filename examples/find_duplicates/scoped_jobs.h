// Jobs that do not outlive a scope.
#pragma once

#include <kq/concurrency/job_queue.h>

#include <atomic>
#include <memory>
#include <vector>

namespace find_duplicates {

/// Jobs of the process-wide queue that refer to things of the scope that queues them. When the
/// scope is left, in whatever way, those that have not started are taken out of the queue, and
/// those that run are waited for.
class ScopedJobs {
public:
    ScopedJobs() = default;
    ~ScopedJobs();
    ScopedJobs(const ScopedJobs&) = delete;
    ScopedJobs& operator=(const ScopedJobs&) = delete;

    void Queue(kq::concurrency::Job job,
               const std::shared_ptr<kq::concurrency::CJobTermsImpl>& terms);
    /// In the order of queuing.
    const std::vector<kq::concurrency::CJobTicket>& Tickets() const noexcept { return tickets_; }

    /// For the jobs, to call now and then: throws once the scope is being left. The job counts as
    /// failed then, so nothing that depends on it takes its work for done.
    void ThrowIfStopped() const;

private:
    std::atomic<bool> stopped_{false};
    std::vector<kq::concurrency::CJobTicket> tickets_;
};

} // namespace find_duplicates
