// Jobs in a row.
#pragma once

#include "concurrency/queue_job_adapter.h"

namespace kq::concurrency {

/// A list of queued jobs, linked through the jobs; owns nothing and is guarded by its queue's lock.
class JobList {
public:
    CQueueJobAdapter* First() const noexcept { return first_; }
    CQueueJobAdapter* Last() const noexcept { return last_; }
    bool IsEmpty() const noexcept { return first_ == nullptr; }

    void PushBack(CQueueJobAdapter& job) noexcept {
        job.previous = last_;
        job.next = nullptr;
        (last_ != nullptr ? last_->next : first_) = &job;
        last_ = &job;
    }

    void Unlink(CQueueJobAdapter& job) noexcept {
        (job.previous != nullptr ? job.previous->next : first_) = job.next;
        (job.next != nullptr ? job.next->previous : last_) = job.previous;
        job.previous = nullptr;
        job.next = nullptr;
    }

private:
    CQueueJobAdapter* first_ = nullptr;
    CQueueJobAdapter* last_ = nullptr;
};

} // namespace kq::concurrency
