#include "concurrency/ui_queue_core.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/finish_cascade.h"
#include "concurrency/run_job.h"
#include "thread/platform.h"

#include <utility>

namespace kq::concurrency {

using Place = CQueueJobAdapter::Place;

std::shared_ptr<UIQueueCore> UIQueueCore::Make() {
    auto core = std::make_shared<UIQueueCore>();
    core->window_.emplace(*core);
    return core;
}

UIQueueCore::UIQueueCore() : uiThread_(thread::platform::CurrentThreadId()) {}

CJobTicket UIQueueCore::Queue(std::shared_ptr<CQueueJobAdapter> job, bool allowInline) {
    CJobTicket ticket(job);
    if (allowInline && MayRunInline(*job)) {
        job->gate.reset();
        RunJob(job->job, ticket, CurrentJob());
        return ticket;
    }
    FinishCascade cascade;
    {
        const thread::lock_guard guard(mutex_);
        if (isClosed_) {
            cascade.Drop(std::move(job));
        } else {
            CQueueJobAdapter& incoming = *job;
            incoming.queue = this;
            incoming.place = Place::Incoming;
            incoming.self = std::move(job);
            incoming_.PushBack(incoming);
            ++incomingCount_;
            RequestWake();
        }
    }
    cascade.Run();
    return ticket;
}

bool UIQueueCore::MayRunInline(CQueueJobAdapter& job) const {
    return thread::platform::CurrentThreadId() == uiThread_ &&
           (job.gate == nullptr || job.gate->Ask() == StartInfo::Start);
}

// At most one message is on its way. One that could not be posted is not reported: the jobs stay,
// and the next one that is queued tries again.
void UIQueueCore::RequestWake() noexcept {
    if (!isWakePosted_)
        isWakePosted_ = window_ && window_->PostWake();
}

bool UIQueueCore::Remove(CQueueJobAdapter& job) {
    FinishCascade cascade;
    {
        const thread::lock_guard guard(mutex_);
        if (job.place != Place::Incoming)
            return false;
        incoming_.Unlink(job);
        --incomingCount_;
        job.place = Place::Nowhere;
        cascade.Drop(std::move(job.self));
    }
    cascade.Run();
    return true;
}

void UIQueueCore::OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                                   FinishCascade& cascade) noexcept {
    std::shared_ptr<Gate> opened;
    const thread::lock_guard guard(mutex_);
    if (jobs_.OnTicketFinished(gate, clause, opened, cascade) == PendingJobs::Outcome::IsReady)
        RequestWake();
}

void UIQueueCore::OnWake() noexcept {
    const auto keepAlive = weak_from_this().lock();
    const thread::lock_guard guard(mutex_);
    // Before anything is taken over: what is queued from now on posts a message of its own.
    isWakePosted_ = false;
    ProcessQueue();
}

void UIQueueCore::OnRetryTimer() noexcept { RunWhatMayStart(); }

void UIQueueCore::RunWhatMayStart() noexcept {
    const auto keepAlive = weak_from_this().lock();
    const thread::lock_guard guard(mutex_);
    ProcessQueue();
}

// A job may run a message loop, and come here again, or close the queue. So every job is taken out
// before it runs, and nothing of the list is remembered across it.
void UIQueueCore::ProcessQueue() noexcept {
    TakeOver();
    for (;;) {
        FinishCascade dropped;
        std::shared_ptr<CQueueJobAdapter> next =
            jobs_.HasPolled() ? jobs_.Poll(mutex_, dropped) : jobs_.TakeFirstReady();
        if (next == nullptr && dropped.IsEmpty())
            break;
        // A condition may close the queue, and so may what a dropped job captured, which may also
        // pump: until that is gone, the next job stands in its place.
        if (next != nullptr && isClosed_)
            dropped.Drop(std::move(next));
        else if (next != nullptr && !dropped.IsEmpty())
            jobs_.PutBack(std::move(next));
        // Should the job run a message loop of its own, the others go on in that.
        if (next != nullptr && (jobs_.HasReady() || jobs_.HasPolled()))
            EnsureReturn();
        const thread::unlock_guard released(mutex_);
        dropped.Run();
        if (next != nullptr)
            Run(std::move(next));
    }
    if (isClosed_)
        return;
    if (jobs_.HasPolled())
        EnsureReturn();
    else
        window_->StopRetryTimer();
}

// The thread's slot is only asked for here: with emulated TLS it takes memory that the thread
// keeps.
void UIQueueCore::Run(std::shared_ptr<CQueueJobAdapter> next) noexcept {
    CQueueJobAdapter& job = *next;
    const CJobTicket ticket(std::move(next));
    job.gate.reset();
    RunJob(job.job, ticket, CurrentJob());
}

void UIQueueCore::EnsureReturn() noexcept {
    if (!isWakePosted_)
        window_->StartRetryTimer();
}

// The lock is released after each job, to let go of what its terms held. Those that come meanwhile
// have a message of their own.
void UIQueueCore::TakeOver() noexcept {
    for (std::size_t count = incomingCount_; count != 0 && !incoming_.IsEmpty(); --count) {
        FinishCascade cascade;
        std::shared_ptr<Gate> opened;
        CQueueJobAdapter& job = *incoming_.First();
        incoming_.Unlink(job);
        --incomingCount_;
        jobs_.Enter(std::move(job.self), *this, opened, cascade);
        const thread::unlock_guard released(mutex_);
        opened.reset();
        cascade.Run();
    }
}

void UIQueueCore::Close() noexcept {
    FinishCascade cascade;
    {
        const thread::lock_guard guard(mutex_);
        isClosed_ = true;
        while (CQueueJobAdapter* const job = incoming_.First()) {
            incoming_.Unlink(*job);
            --incomingCount_;
            job->place = Place::Nowhere;
            cascade.Drop(std::move(job->self));
        }
        jobs_.DropAll(cascade);
    }
    // Outside the lock, because hooks of the host run while a window goes. Nobody posts any more.
    window_.reset();
    cascade.Run();
}

} // namespace kq::concurrency
