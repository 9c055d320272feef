// Jobs for one thread with a message loop.
#pragma once

#include <kq/concurrency/job.h>
#include <kq/concurrency/job_terms.h>
#include <kq/concurrency/job_ticket.h>
#include <kq/export.h>

#include <memory>

namespace kq {
namespace concurrency {

/// Runs jobs on the thread that made it, its UI thread, whenever that thread dispatches messages: a
/// hidden message-only window does the work, so jobs also run inside message boxes, menus and
/// window drags. The UI thread has to run a message loop, or call `Pump()`.
///
/// The library has one such queue for the main thread, which `jobQueue` uses for jobs with `inUI`
/// and `inUIAsync` terms; an object of this class is a further one, for whatever thread.
///
/// Guarantees:
/// - Jobs whose terms let them start run in the order of submission; one that waits does not hold
/// up
///   those behind it. A job that waits on tickets is started when these finish; one with an opaque
///   `condition` is asked again every 20 ms.
/// - At most one wake message is in the thread's message queue, however many jobs are queued.
/// - A job queued from the UI thread without terms, or with terms that let it start and do not ask
///   for it to be asynchronous (`inUIAsync`, `isBlocking`), runs inside `Queue`.
/// - A job may queue others, throw (its ticket tells) and destroy the queue. It may run a message
///   loop, for instance by opening a dialog: the jobs behind it then run inside that loop, after 20
///   ms at the latest.
///
/// A wait on the UI thread for one of its own jobs never ends. `Queue` and `Remove` may be called
/// from any thread; all else belongs to the UI thread.
class CUIJobQueue {
public:
    /// Makes the calling thread the queue's UI thread.
    KQ_API CUIJobQueue();
    /// Jobs that have not started end as removed. Only on the UI thread.
    KQ_API ~CUIJobQueue();
    CUIJobQueue(const CUIJobQueue&) = delete;
    CUIJobQueue& operator=(const CUIJobQueue&) = delete;

    /// Dispatches the messages of the queue's window, and so runs what may start; never waits.
    KQ_API void Pump();

    /// Submits a job.
    KQ_API CJobTicket Queue(const Job& job, const std::shared_ptr<CJobTermsImpl>& terms = {});

    /// Withdraws a job that the UI thread has not looked at yet: it ends as removed. Returns
    /// whether it did; false for one that the UI thread has already taken over, also when that
    /// waits for its terms.
    KQ_API bool Remove(const CJobTicket& ticket);

private:
    std::unique_ptr<class CUIJobQueueImpl> impl_;
};

} // namespace concurrency
} // namespace kq
