// The queues behind a `CJobQueue`.
#pragma once

#include <kq/concurrency/job_queue.h>

#include "concurrency/thread_job_queue.h"

#include <cstdint>
#include <memory>

namespace kq::concurrency {

class CJobQueueImpl {
public:
    CJobQueueImpl(const std::shared_ptr<CThreadPool>& pool, unsigned int blockingFactor);

    static CJobQueueImpl& Of(CJobQueue& queue) noexcept { return *queue.impl_; }

    CJobTicket Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms);
    bool Remove(const CJobTicket& ticket);

    /// Whether nothing is pending or running.
    bool IsIdle() const noexcept;

    /// Waits until every job has run or was dropped, those included that running jobs submit.
    void Drain();

private:
    std::uint64_t QueuedCount() const noexcept;

    // The blocking lane is destroyed first.
    CThreadJobQueue normalQueue_;
    CThreadJobQueue blockingQueue_;
};

} // namespace kq::concurrency
