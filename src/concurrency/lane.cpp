// The side of a lane on which jobs come in, become ready and are withdrawn. The dispatchers' side
// is in lane_dispatch.cpp.
#include "concurrency/lane.h"

#include "concurrency/finish_cascade.h"
#include "concurrency/lane_dispatch.h"
#include "concurrency/poll_bell.h"

#include <mutex>
#include <utility>

namespace kq::concurrency {

using Place = CQueueJobAdapter::Place;

CJobTicket LaneCore::Queue(std::shared_ptr<CQueueJobAdapter> job) {
    CJobTicket ticket(job);
    std::shared_ptr<Gate> opened;
    FinishCascade cascade;
    Help help = Help::None;
    {
        const std::lock_guard guard(mutex_);
        CQueueJobAdapter& entering = *job;
        entering.queue = this;
        entering.sequence = nextSequence_++;
        entering.self = std::move(job);
        ++pendingCount_;
        Enter(entering, opened, cascade);
        help = NeededHelp();
    }
    cascade.Run();
    Give(help);
    return ticket;
}

// What must not be destroyed under the lock is left in `opened` and `cascade`.
void LaneCore::Enter(CQueueJobAdapter& job, std::shared_ptr<Gate>& opened,
                     FinishCascade& cascade) noexcept {
    if (job.gate == nullptr) {
        MakeReady(job);
        return;
    }
    Gate& gate = *job.gate;
    gate.job = &job;
    if (gate.condition) {
        job.place = Place::Polled;
        polled_.PushBack(job);
        arrivals_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    gate.keeper = shared_from_this();
    job.place = Place::Waiting;
    waiting_.PushBack(job);
    for (TicketClause& clause : gate.clauses) {
        const StartInfo answer = clause.Advance(job.gate);
        if (answer == StartInfo::Drop) {
            cascade.Drop(TakeOut(job));
            return;
        }
        if (answer == StartInfo::Postpone)
            ++gate.openClauses;
    }
    if (gate.openClauses == 0) {
        waiting_.Unlink(job);
        gate.job = nullptr;
        opened = std::move(job.gate);
        MakeReady(job);
    }
}

void LaneCore::MakeReady(CQueueJobAdapter& job) noexcept {
    job.place = Place::Ready;
    ready_.Add(job);
    arrivals_.fetch_add(1, std::memory_order_relaxed);
}

void LaneCore::OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                                FinishCascade& cascade) noexcept {
    std::shared_ptr<Gate> opened;
    Help help = Help::None;
    {
        const std::lock_guard guard(mutex_);
        CQueueJobAdapter* const job = gate->job;
        if (job == nullptr)
            return;
        const StartInfo answer = clause.Advance(gate);
        if (answer == StartInfo::Postpone)
            return;
        if (answer == StartInfo::Drop) {
            cascade.Drop(TakeOut(*job));
        } else {
            if (--gate->openClauses != 0)
                return;
            waiting_.Unlink(*job);
            gate->job = nullptr;
            opened = std::move(job->gate);
            MakeReady(*job);
        }
        if (!cascade.WillLookIn(this))
            help = NeededHelp();
    }
    TryToGive(help);
}

bool LaneCore::Remove(CQueueJobAdapter& job) {
    FinishCascade cascade;
    Help help = Help::None;
    {
        const std::lock_guard guard(mutex_);
        if (job.place == Place::Nowhere)
            return false;
        cascade.Drop(TakeOut(job));
        help = NeededHelp();
    }
    TryToGive(help);
    cascade.Run();
    return true;
}

void LaneCore::Drain() {
    Lock lock(mutex_);
    for (;;) {
        while (activeCount_ + startingCount_ != 0)
            gone_.wait(lock);
        if (pendingCount_ == 0)
            return;
        // Jobs wait and nobody serves them: a dispatcher could not be started when they came.
        ++startingCount_;
        lock.unlock();
        FinishCascade cascade;
        try {
            StartDispatcher();
        } catch (...) {
            lock.lock();
            DropAll(cascade);
            lock.unlock();
        }
        cascade.Run();
        lock.lock();
    }
}

void LaneCore::DropAll(FinishCascade& cascade) noexcept {
    while (CQueueJobAdapter* const job = ready_.First())
        cascade.Drop(TakeOut(*job));
    while (CQueueJobAdapter* const job = polled_.First())
        cascade.Drop(TakeOut(*job));
    while (CQueueJobAdapter* const job = waiting_.First())
        cascade.Drop(TakeOut(*job));
}

// Takes a job out for good; the caller has its last reference in the queue.
std::shared_ptr<CQueueJobAdapter> LaneCore::TakeOut(CQueueJobAdapter& job) noexcept {
    switch (job.place) {
        case Place::Ready:
            ready_.Remove(job);
            break;
        case Place::Polled:
            for (PollCursor* cursor = cursors_; cursor != nullptr; cursor = cursor->Other())
                cursor->Leave(job);
            polled_.Unlink(job);
            break;
        case Place::Waiting:
            waiting_.Unlink(job);
            for (TicketClause& clause : job.gate->clauses)
                clause.Unhook();
            break;
        case Place::Nowhere:
            break;
    }
    job.place = Place::Nowhere;
    if (job.gate != nullptr)
        job.gate->job = nullptr;
    --pendingCount_;
    return std::move(job.self);
}

// Called after every change that makes work or takes a looker away. At most one helper is on its
// way at any time: it calls here itself when it has taken a job and others are left.
LaneCore::Help LaneCore::NeededHelp() noexcept {
    const bool hasWork = !ready_.IsEmpty() || !polled_.IsEmpty();
    if (isSleeping_) {
        if (!hasWork && pendingCount_ != 0)
            return Help::None;
        isSleeping_ = false;
        return Help::WakeSleeper;
    }
    if (isPausing_) {
        isPausing_ = false;
        return Help::RingBell;
    }
    if (lookingCount_ + startingCount_ != 0)
        return Help::None;
    // Jobs that only wait need nobody but a dispatcher to come back to.
    if (!hasWork && (pendingCount_ == 0 || activeCount_ != 0))
        return Help::None;
    if (activeCount_ >= maxDispatchers_)
        return Help::None;
    ++startingCount_;
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
