#include <kq/concurrency/job_queue.h>

#include "concurrency/job_queue_impl.h"
#include "concurrency/queue_job_adapter.h"
#include "concurrency/recycling.h"
#include "concurrency/ui_job_queue_impl.h"

#include <utility>

namespace kq::concurrency {

Singleton<CJobQueue, std::shared_ptr> jobQueue;

namespace {

std::shared_ptr<CThreadPool> InstalledOrPrivatePool() {
    std::shared_ptr<CThreadPool> pool = threadPool.GetShared();
    return pool != nullptr ? pool : std::make_shared<CThreadPool>();
}

/// Kept alive while it is used; throws the singleton's error when there is none.
std::shared_ptr<CUIJobQueueImpl> InstalledUIQueue() {
    for (;;) {
        if (std::shared_ptr<CUIJobQueueImpl> queue = uiJobQueue.GetShared())
            return queue;
        uiJobQueue.Get();
    }
}

} // namespace

CJobQueueImpl::CJobQueueImpl(std::shared_ptr<CThreadPool> pool, unsigned int blockingFactor)
    : normalQueue_(pool, pool->MaxSpareThreadCount()),
      // In 64 bits: the product of a count and any factor fits.
      blockingQueue_(pool, pool->MaxSpareThreadCount() * std::size_t{blockingFactor}) {}

CJobTicket CJobQueueImpl::Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    auto adapter = MakeRecycled<CQueueJobAdapter>(std::move(job), Gate::Make(terms));
    if (terms == nullptr)
        return normalQueue_.Queue(std::move(adapter), false);
    if (terms->uiThread)
        return InstalledUIQueue()->Queue(std::move(adapter), !terms->blocking);
    if (terms->blocking)
        return blockingQueue_.Queue(std::move(adapter), false);
    return normalQueue_.Queue(std::move(adapter), false);
}

bool CJobQueueImpl::Remove(const CJobTicket& ticket) {
    return InstalledUIQueue()->Remove(ticket) || normalQueue_.Remove(ticket) ||
           blockingQueue_.Remove(ticket);
}

void CJobQueueImpl::Drain() {
    // Twice around, because a job of one lane may have submitted one to the other.
    for (int round = 0; round != 2; ++round) {
        blockingQueue_.Drain();
        normalQueue_.Drain();
    }
}

CJobQueue::CJobQueue(unsigned int blockingFactor)
    : CJobQueue(InstalledOrPrivatePool(), blockingFactor) {}

CJobQueue::CJobQueue(std::shared_ptr<CThreadPool> pool, unsigned int blockingFactor)
    : impl_(std::make_unique<CJobQueueImpl>(std::move(pool), blockingFactor)) {}

CJobQueue::~CJobQueue() = default;

CJobTicket CJobQueue::Queue(const Job& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    return impl_->Queue(Job(job), terms);
}

CJobTicket CJobQueue::Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    return impl_->Queue(std::move(job), terms);
}

bool CJobQueue::Remove(const CJobTicket& ticket) { return impl_->Remove(ticket); }

} // namespace kq::concurrency
