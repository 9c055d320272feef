#include <kq/concurrency/ui_job_queue.h>

#include "concurrency/queue_job_adapter.h"
#include "concurrency/ui_job_queue_impl.h"

namespace kq::concurrency {

CUIJobQueue::CUIJobQueue() : impl_(std::make_unique<CUIJobQueueImpl>()) {}

CUIJobQueue::~CUIJobQueue() = default;

void CUIJobQueue::Pump() { impl_->Pump(); }

CJobTicket CUIJobQueue::Queue(const Job& job, const std::shared_ptr<CJobTermsImpl>& terms) {
    const bool allowInline = terms == nullptr || !terms->blocking;
    return impl_->Queue(std::make_shared<CQueueJobAdapter>(Job(job), Gate::Make(terms)),
                        allowInline);
}

bool CUIJobQueue::Remove(const CJobTicket& ticket) { return impl_->Remove(ticket); }

} // namespace kq::concurrency
