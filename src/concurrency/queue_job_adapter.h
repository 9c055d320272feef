// A job in a queue.
#pragma once

#include <kq/concurrency/job.h>

#include "concurrency/gate.h"
#include "concurrency/job_state.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace kq::concurrency {

/// One submitted job, from `Queue` until it has run or was taken out: its state, its callable and
/// its place in the queue, in one allocation. Tickets keep that memory, but neither the callable
/// nor the terms: both are destroyed as soon as the job is finished.
class CQueueJobAdapter final : public CJobState {
public:
    /// Where the job waits.
    enum class Place : std::uint8_t {
        Nowhere,  ///< not in a queue yet, or taken out of it for good
        Incoming, ///< queued, not looked at yet; only in the UI queue
        Ready,    ///< may start
        Polled,   ///< its condition has to be asked
        Waiting,  ///< jobs that it waits for will tell
    };

    CQueueJobAdapter(Job&& theJob, std::shared_ptr<Gate> theGate) noexcept
        : CJobState(InAdapter{}), job(std::move(theJob)), gate(std::move(theGate)) {}

    /// The job of `ticket` when it was given to `queue` and is not finished, else null.
    static CQueueJobAdapter* Find(const CJobTicket& ticket, const void* queue) noexcept {
        CJobState* const state = ticket.State().get();
        if (state == nullptr || !state->IsInAdapter() || state->IsFinished())
            return nullptr;
        auto* const job = static_cast<CQueueJobAdapter*>(state);
        return job->queue == queue ? job : nullptr;
    }

    /// Destroys the callable and the terms: the user's code, so never under a lock.
    void Discard() noexcept {
        job = Job();
        gate.reset();
    }

    Job job;
    /// What has to open before the job may start; null when nothing has to.
    std::shared_ptr<Gate> gate;

    /// The queue that the job was given to; never dereferenced, only compared.
    const void* queue = nullptr;

    // The rest belongs to that queue and is guarded by its lock, until the job is taken out.
    std::uint64_t sequence = 0; ///< order of submission
    Place place = Place::Nowhere;
    bool isInHeap = false; ///< where in the ready queue
    CQueueJobAdapter* previous = nullptr;
    CQueueJobAdapter* next = nullptr;
    CQueueJobAdapter* child = nullptr;
    /// The queue's own reference.
    std::shared_ptr<CQueueJobAdapter> self;
};

} // namespace kq::concurrency
