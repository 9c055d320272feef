// Where and when a queued job may start.
#pragma once

#include <kq/concurrency/job_ticket.h>
#include <kq/export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace kq {
namespace concurrency {

/// What a job's condition answers when its queue looks for work.
enum class StartInfo : std::uint32_t {
    Start = 0,    ///< the job may start now
    Postpone = 1, ///< not yet; ask again
    Drop = 2,     ///< the job can never run: it leaves the queue and ends as removed
};

/// The terms of a job. Built by the functions below, combined with `&`, and not changed any more
/// once they are given to a queue; one set of terms may serve many jobs on any threads.
struct CJobTermsImpl {
    /// The job runs on the UI thread.
    bool uiThread = false;
    /// For a pool job: it mostly waits rather than computes and goes to the blocking lane. For a UI
    /// job: it never runs inside `Queue`, even on the UI thread.
    bool blocking = false;
    /// Asked when the queue looks for work; empty means `Start`. Called without any lock, on the
    /// queue's own thread, possibly on several threads at once and any number of times: it has to
    /// be cheap, free of side effects, and must not throw.
    std::function<StartInfo()> condition;
};

/// Runs on the UI thread; at once, when it is queued from there.
extern KQ_API const std::shared_ptr<CJobTermsImpl>& inUI;
/// Runs on the UI thread, from its message loop.
extern KQ_API const std::shared_ptr<CJobTermsImpl>& inUIAsync;
/// Mostly waits: runs in the lane whose limit is for such jobs.
extern KQ_API const std::shared_ptr<CJobTermsImpl>& isBlocking;

/// Starts after the job has finished, whatever its outcome. An empty ticket counts as finished.
KQ_API std::shared_ptr<CJobTermsImpl> after(const CJobTicket& ticket);
/// Starts after all of the jobs have finished.
KQ_API std::shared_ptr<CJobTermsImpl> after(const std::vector<CJobTicket>& tickets);

/// Starts when the job is done; is dropped when it failed or was removed. An empty ticket counts as
/// done.
KQ_API std::shared_ptr<CJobTermsImpl> dependsOn(const CJobTicket& ticket);
/// Starts when all of the jobs are done. The first of the list that is not done decides: while it
/// is unfinished the job waits, even if a later one has failed already; when it failed or was
/// removed, the job is dropped.
KQ_API std::shared_ptr<CJobTermsImpl> dependsOn(const std::vector<CJobTicket>& tickets);

/// Starts, waits or is dropped as `function` answers; see `CJobTermsImpl::condition`. Such a job is
/// polled while it waits. Prefer `after` and `dependsOn` where they say the same: they cost
/// nothing.
KQ_API std::shared_ptr<CJobTermsImpl> condition(const std::function<StartInfo()>& function);

/// Both terms at once: each flag is set when either has it, and the job is dropped when either says
/// so, else starts when both say so. A null operand yields the other one.
KQ_API std::shared_ptr<CJobTermsImpl> operator&(const std::shared_ptr<CJobTermsImpl>& left,
                                                const std::shared_ptr<CJobTermsImpl>& right);

} // namespace concurrency
} // namespace kq
