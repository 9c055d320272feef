// The jobs of a lane that may start.
#pragma once

#include "concurrency/job_list.h"
#include "concurrency/queue_job_adapter.h"

namespace kq::concurrency {

/// Yields jobs in the order of submission, which is not always the order in which they arrive here:
/// a job that waited for others becomes ready after jobs that were submitted later. Those stand in
/// a pairing heap (Fredman, Sedgewick, Sleator and Tarjan, 1986), all others in a plain list, which
/// is in order by itself.
///
/// Linked through the jobs: no operation allocates or fails. Adding is constant, taking is constant
/// for the list and logarithmic, amortised, for the heap. Guarded by the lane's lock.
class ReadyQueue {
public:
    bool IsEmpty() const noexcept { return list_.IsEmpty() && heap_ == nullptr; }

    /// The next job in the order of submission; null when there is none.
    CQueueJobAdapter* First() const noexcept;

    void Add(CQueueJobAdapter& job) noexcept;
    void Remove(CQueueJobAdapter& job) noexcept;

private:
    static CQueueJobAdapter* Meld(CQueueJobAdapter* left, CQueueJobAdapter* right) noexcept;
    static CQueueJobAdapter* MeldSiblings(CQueueJobAdapter* first) noexcept;

    JobList list_;
    // `child` is a job's first child, `next` its next sibling, `previous` its previous sibling or,
    // for a first child, its parent.
    CQueueJobAdapter* heap_ = nullptr;
};

} // namespace kq::concurrency
