#include "concurrency/finish_cascade.h"

#include "concurrency/queue_job_adapter.h"

#include <utility>

namespace kq::concurrency {

void FinishCascade::Drop(std::shared_ptr<CQueueJobAdapter> job) noexcept {
    CQueueJobAdapter& dropped = *job;
    dropped.self = std::move(job);
    dropped.next = nullptr;
    (last_ != nullptr ? last_->next : first_) = &dropped;
    last_ = &dropped;
}

void FinishCascade::Run() noexcept {
    while (first_ != nullptr) {
        const std::shared_ptr<CQueueJobAdapter> job = std::move(first_->self);
        first_ = std::exchange(job->next, nullptr);
        if (first_ == nullptr)
            last_ = nullptr;
        job->Discard();
        job->Withdraw(*this);
    }
}

} // namespace kq::concurrency
