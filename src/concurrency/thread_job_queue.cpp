#include "concurrency/thread_job_queue.h"

#include "concurrency/queue_job_adapter.h"

namespace kq::concurrency {

bool CThreadJobQueue::Remove(const CJobTicket& ticket) {
    CQueueJobAdapter* const job = CQueueJobAdapter::Find(ticket, lane_.get());
    return job != nullptr && lane_->Remove(*job);
}

} // namespace kq::concurrency
