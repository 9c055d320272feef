#include "concurrency/thread_job_queue.h"

#include "concurrency/queue_job_adapter.h"

namespace kq::concurrency {

bool CThreadJobQueue::Remove(const CJobTicket& ticket) {
    CJobState* const state = ticket.State().get();
    if (state == nullptr || !state->IsInAdapter() || state->IsFinished())
        return false;
    auto& job = static_cast<CQueueJobAdapter&>(*state);
    return job.queue == lane_.get() && lane_->Remove(job);
}

} // namespace kq::concurrency
