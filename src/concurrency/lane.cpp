// The side of a lane on which jobs come in, become ready and are withdrawn. The dispatchers' side
// is in lane_dispatch.cpp.
#include "concurrency/lane.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/finish_cascade.h"
#include "concurrency/poll_bell.h"

#include <utility>

namespace kq::concurrency {

CJobTicket LaneCore::Queue(std::shared_ptr<CQueueJobAdapter> job) {
    CJobTicket ticket(job);
    std::shared_ptr<Gate> opened;
    FinishCascade cascade;
    Help help = Help::None;
    {
        const thread::lock_guard guard(mutex_);
        job->queue = this;
        jobs_.Enter(std::move(job), *this, opened, cascade);
        help = NeededHelp();
    }
    cascade.Run();
    Give(help);
    return ticket;
}

void LaneCore::OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                                FinishCascade& cascade) noexcept {
    std::shared_ptr<Gate> opened;
    Help help = Help::None;
    {
        const thread::lock_guard guard(mutex_);
        const PendingJobs::Outcome outcome = jobs_.OnTicketFinished(gate, clause, opened, cascade);
        if (outcome != PendingJobs::Outcome::Waits && !cascade.WillLookIn(this))
            help = NeededHelp();
    }
    TryToGive(help);
}

bool LaneCore::Remove(CQueueJobAdapter& job) {
    FinishCascade cascade;
    Help help = Help::None;
    {
        const thread::lock_guard guard(mutex_);
        if (job.place == CQueueJobAdapter::Place::Nowhere)
            return false;
        cascade.Drop(jobs_.TakeOut(job));
        help = NeededHelp();
    }
    TryToGive(help);
    cascade.Run();
    return true;
}

bool LaneCore::IsIdle() const noexcept {
    const thread::lock_guard guard(mutex_);
    return jobs_.IsEmpty() && activeCount_ + startingCount_ == 0;
}

std::uint64_t LaneCore::QueuedCount() const noexcept {
    const thread::lock_guard guard(mutex_);
    return jobs_.EnteredCount();
}

void LaneCore::Drain() {
    if (thread::platform::ProcessIsEnding())
        return;
    const thread::lock_guard guard(mutex_);
    for (;;) {
        while (activeCount_ + startingCount_ != 0)
            gone_.wait(mutex_);
        if (jobs_.IsEmpty())
            return;
        // Jobs wait and nobody serves them: a dispatcher could not be started when they came.
        ++startingCount_;
        isStartCountedOn_ = false;
        const thread::unlock_guard released(mutex_);
        FinishCascade cascade;
        try {
            StartDispatcher();
        } catch (...) {
            const thread::lock_guard retaken(mutex_);
            // A dispatcher that was given up earlier may have found a thread meanwhile.
            if (activeCount_ + startingCount_ == 0)
                jobs_.DropAll(cascade);
        }
        cascade.Run();
    }
}

// Called after every change that makes work or takes a looker away. At most one helper is on its
// way at any time: it calls here itself when it has taken a job and others are left.
LaneCore::Help LaneCore::NeededHelp() noexcept {
    const bool hasWork = jobs_.HasReady() || jobs_.HasPolled();
    if (isSleeping_) {
        if (!hasWork && !jobs_.IsEmpty())
            return Help::None;
        isSleeping_ = false;
        return Help::WakeSleeper;
    }
    if (isPausing_) {
        isPausing_ = false;
        return Help::RingBell;
    }
    if (lookingCount_ + startingCount_ != 0) {
        isStartCountedOn_ = true;
        return Help::None;
    }
    // Jobs that only wait need nobody but a dispatcher to come back to.
    if (!hasWork && (jobs_.IsEmpty() || activeCount_ != 0))
        return Help::None;
    if (activeCount_ >= maxDispatchers_)
        return Help::None;
    ++startingCount_;
    isStartCountedOn_ = false;
    return Help::StartDispatcher;
}

void LaneCore::Give(Help help) {
    switch (help) {
        case Help::None:
            break;
        case Help::WakeSleeper:
            woken_.notify_one();
            break;
        case Help::RingBell:
            PollBell::Ring();
            break;
        case Help::StartDispatcher:
            StartDispatcher();
            break;
    }
}

// For those who have no caller to tell: the jobs stay, and the dispatchers that run look again.
void LaneCore::TryToGive(Help help) noexcept {
    try {
        Give(help);
    } catch (...) {
        return;
    }
}

} // namespace kq::concurrency
