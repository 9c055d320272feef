// The jobs of a queue that have not started.
#pragma once

#include "concurrency/gate.h"
#include "concurrency/job_list.h"
#include "concurrency/queue_job_adapter.h"
#include "concurrency/ready_queue.h"
#include "thread/mutex.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace kq::concurrency {

class FinishCascade;

/// Keeps the pending jobs of one queue where they cost nothing. Jobs that may start are in the
/// ready queue. Jobs that wait on tickets hang on the jobs that they wait for and are moved by
/// whoever finishes those; nobody looks at them meanwhile. Jobs with an opaque condition are
/// polled.
///
/// Guarded by the mutex of the queue, which is its parameter where it has to be released. Nothing
/// of the user's is called or destroyed under that mutex: what has to go is handed out, for the
/// caller to let go of after the release.
class PendingJobs {
public:
    /// What the end of a ticket's job did to the job that waited.
    enum class Outcome {
        Waits,   ///< nothing: it waits for others, or has been taken out
        IsReady, ///< it may start
        IsGone,  ///< it was dropped
    };

    bool IsEmpty() const noexcept { return count_ == 0; }
    bool HasReady() const noexcept { return !ready_.IsEmpty(); }
    bool HasPolled() const noexcept { return !polled_.IsEmpty(); }

    /// How many jobs have ever entered.
    std::uint64_t EnteredCount() const noexcept { return nextSequence_; }

    /// Grows with every job that becomes ready or polled.
    std::uint32_t Arrivals() const noexcept { return arrivals_.load(std::memory_order_relaxed); }
    /// The same, to be read without the mutex too.
    const std::atomic<std::uint32_t>& ArrivalCounter() const noexcept { return arrivals_; }

    /// Takes a job, behind all others in the order of submission. A job that can never run goes to
    /// `cascade`; a gate that is open already goes to `opened`.
    void Enter(std::shared_ptr<CQueueJobAdapter> entering, GateKeeper& keeper,
               std::shared_ptr<Gate>& opened, FinishCascade& cascade) noexcept;

    /// To be called by the keeper of the gates.
    Outcome OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                             std::shared_ptr<Gate>& opened, FinishCascade& cascade) noexcept;

    /// Takes a job out for good; the caller has the queue's reference on it.
    std::shared_ptr<CQueueJobAdapter> TakeOut(CQueueJobAdapter& job) noexcept;

    /// Takes back a job that was taken out because it may start, to its place in the order.
    void PutBack(std::shared_ptr<CQueueJobAdapter> taken) noexcept;

    /// Takes the first ready job in the order of submission; null when there is none.
    std::shared_ptr<CQueueJobAdapter> TakeFirstReady() noexcept;

    /// One pass over the polled jobs: takes the first job, polled or ready, that may start, and
    /// moves every one that never will to `cascade`. Releases the mutex while a condition is asked,
    /// so that jobs may come and go meanwhile; those that come are for the next pass.
    std::shared_ptr<CQueueJobAdapter> Poll(thread::mutex& held, FinishCascade& cascade) noexcept
        KQ_REQUIRES(held);

    /// Takes every job out, to be dropped.
    void DropAll(FinishCascade& cascade) noexcept;

private:
    class PollCursor;

    void CountArrival() noexcept;
    void MakeReady(CQueueJobAdapter& job) noexcept;
    void Open(CQueueJobAdapter& job, std::shared_ptr<Gate>& opened) noexcept;

    ReadyQueue ready_;
    JobList polled_;
    JobList waiting_;
    PollCursor* cursors_ = nullptr; // of those who walk along polled_
    std::uint64_t nextSequence_ = 0;
    std::size_t count_ = 0;
    std::atomic<std::uint32_t> arrivals_{0};
};

} // namespace kq::concurrency
