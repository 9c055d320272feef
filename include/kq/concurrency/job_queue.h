// Where work is submitted.
#pragma once

#include <kq/concurrency/job.h>
#include <kq/concurrency/job_terms.h>
#include <kq/concurrency/job_ticket.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/export.h>
#include <kq/singleton.h>

#include <memory>

namespace kq {
namespace concurrency {

/// Takes jobs from any thread, returns a ticket at once, and runs each job on a pool thread, or on
/// the UI thread, when its terms allow.
///
/// What it guarantees of the jobs that run on the pool:
/// - There are two lanes: jobs with `isBlocking` terms go to one, all others to the other. Each
///   starts its jobs in the order of submission, among those whose terms let them start.
/// - A lane runs at most so many jobs at once as its limit says, and a job that may start does
/// start
///   whenever fewer are running.
/// - A job never runs on the thread that queues it.
/// - A job that waits only on tickets (`after`, `dependsOn`) costs nothing while it waits, however
///   many there are. Jobs with an opaque `condition` are polled, at least every millisecond.
///
/// It follows that jobs without terms in a lane whose limit is 1 run one after the other, and that
/// a job may wait for another one's ticket as long as the lane has room for both.
///
/// A job that leaves the queue without having run ends as removed, and its callable is destroyed.
///
///     const CJobTicket parsed = jobQueue->Queue([&] { Parse(); });
///     const CJobTicket shown = jobQueue->Queue([&] { Show(); }, dependsOn(parsed) & inUI);
///     shown.Wait();
class CJobQueue {
public:
    /// Runs its jobs on the process-wide `threadPool` if that is installed, else on a pool of its
    /// own. See the next constructor.
    KQ_API explicit CJobQueue(unsigned int blockingFactor = 10);
    /// Runs its jobs on `pool`. The limit of jobs that run at once is the pool's
    /// `MaxSpareThreadCount()`, and for blocking jobs that number times `blockingFactor` (a factor
    /// of 0 counts as 1).
    KQ_API CJobQueue(std::shared_ptr<CThreadPool> pool, unsigned int blockingFactor);

    /// Waits until every job has run or was dropped by its terms; a job whose terms never resolve
    /// holds this up for ever. Must not be called from one of its own jobs.
    KQ_API ~CJobQueue();

    CJobQueue(const CJobQueue&) = delete;
    CJobQueue& operator=(const CJobQueue&) = delete;

    /// Submits a job; null terms mean that it may start at once, in the lane for computing jobs.
    /// Throws the error of the empty singleton ("Singleton instance of ... does not exists!") for
    /// terms that ask for the UI thread when there is no UI queue; and "Thread could not be
    /// created!" (`std::runtime_error`) when a thread was needed and could not be made: the job
    /// then stays in the queue, and runs when a later call finds a thread.
    KQ_API CJobTicket Queue(const Job& job, const std::shared_ptr<CJobTermsImpl>& terms = {});
    /// As above, without copying the callable.
    KQ_API CJobTicket Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms = {});

    /// Withdraws a job that has not started: it ends as removed. Returns whether it did; false for
    /// a job that is running or finished, that is not in this queue, and for an empty ticket.
    KQ_API bool Remove(const CJobTicket& ticket);

private:
    friend class CJobQueueImpl;
    std::unique_ptr<class CJobQueueImpl> impl_;
};

/// The process-wide queue, built on `threadPool` with a blocking factor of 10 when the library is
/// loaded.
extern KQ_API Singleton<CJobQueue, std::shared_ptr> jobQueue;

} // namespace concurrency
} // namespace kq
