#include <kq/concurrency/job_queue.h>

#include "concurrency/job_queue_impl.h"
#include "concurrency/queue_job_adapter.h"
#include "concurrency/ui_job_queue_impl.h"
#include "thread/recycling.h"

#include <cstddef>
#include <cstdint>
#include <limits>
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

/// The product, or as much as can be counted.
std::size_t SaturatedProduct(std::size_t count, unsigned int factor) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    return factor != 0 && count > most / factor ? most : count * factor;
}

} // namespace

CJobQueueImpl::CJobQueueImpl(const std::shared_ptr<CThreadPool>& pool, unsigned int blockingFactor)
    : normalQueue_(pool, pool->MaxSpareThreadCount()),
      blockingQueue_(pool, SaturatedProduct(pool->MaxSpareThreadCount(), blockingFactor)) {}

CJobTicket CJobQueueImpl::Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    auto adapter = thread::MakeRecycled<CQueueJobAdapter>(std::move(job), Gate::Make(terms));
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

// A job of one lane may submit one to the other, so looking at one after the other says nothing
// about both, unless nothing was submitted from the first look to the last.
bool CJobQueueImpl::IsIdle() const noexcept {
    const std::uint64_t before = QueuedCount();
    return normalQueue_.IsIdle() && blockingQueue_.IsIdle() && QueuedCount() == before;
}

void CJobQueueImpl::Drain() {
    for (std::uint64_t before = 0, after = QueuedCount();;) {
        before = after;
        blockingQueue_.Drain();
        normalQueue_.Drain();
        after = QueuedCount();
        if (after == before)
            return;
    }
}

std::uint64_t CJobQueueImpl::QueuedCount() const noexcept {
    return normalQueue_.QueuedCount() + blockingQueue_.QueuedCount();
}

CJobQueue::CJobQueue(unsigned int blockingFactor)
    : CJobQueue(InstalledOrPrivatePool(), blockingFactor) {}

// By value, because the caller may give its reference away.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
CJobQueue::CJobQueue(std::shared_ptr<CThreadPool> pool, unsigned int blockingFactor)
    : impl_(std::make_unique<CJobQueueImpl>(pool, blockingFactor)) {}

// Both lanes are whole until every job has ended.
CJobQueue::~CJobQueue() { impl_->Drain(); }

CJobTicket CJobQueue::Queue(const Job& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    return impl_->Queue(Job(job), terms);
}

CJobTicket CJobQueue::Queue(Job&& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    return impl_->Queue(std::move(job), terms);
}

bool CJobQueue::Remove(const CJobTicket& ticket) { return impl_->Remove(ticket); }

} // namespace kq::concurrency
