#include "concurrency/pending_jobs.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/finish_cascade.h"

#include <utility>

namespace kq::concurrency {

using Place = CQueueJobAdapter::Place;

/// A walk along the polled jobs that survives their removal while the mutex is free.
class PendingJobs::PollCursor {
public:
    explicit PollCursor(PendingJobs& jobs) noexcept
        : next_(jobs.polled_.First()), other_(jobs.cursors_), link_(&jobs.cursors_) {
        if (other_ != nullptr)
            other_->link_ = &other_;
        *link_ = this;
    }
    ~PollCursor() {
        *link_ = other_;
        if (other_ != nullptr)
            other_->link_ = link_;
    }
    PollCursor(const PollCursor&) = delete;
    PollCursor& operator=(const PollCursor&) = delete;

    PollCursor* Other() const noexcept { return other_; }
    CQueueJobAdapter* Next() const noexcept { return next_; }
    void StepOver() noexcept { next_ = next_->next; }
    /// `job` is about to be unlinked.
    void Leave(const CQueueJobAdapter& job) noexcept {
        if (next_ == &job)
            next_ = job.next;
    }

private:
    CQueueJobAdapter* next_;
    PollCursor* other_;
    PollCursor** link_;
};

void PendingJobs::Enter(std::shared_ptr<CQueueJobAdapter> entering, GateKeeper& keeper,
                        std::shared_ptr<Gate>& opened, FinishCascade& cascade) noexcept {
    CQueueJobAdapter& job = *entering;
    job.sequence = nextSequence_++;
    job.self = std::move(entering);
    ++count_;
    if (job.gate == nullptr) {
        MakeReady(job);
        return;
    }
    Gate& gate = *job.gate;
    gate.job = &job;
    if (gate.condition) {
        job.place = Place::Polled;
        polled_.PushBack(job);
        CountArrival();
        return;
    }
    gate.keeper = keeper.shared_from_this();
    job.place = Place::Waiting;
    waiting_.PushBack(job);
    const bool mayStart = gate.clauses.AllOf([&](TicketClause& clause) {
        const StartInfo answer = clause.Advance(job.gate);
        if (answer == StartInfo::Postpone)
            ++gate.openClauses;
        return answer != StartInfo::Drop;
    });
    if (!mayStart)
        cascade.Drop(TakeOut(job));
    else if (gate.openClauses == 0)
        Open(job, opened);
}

PendingJobs::Outcome PendingJobs::OnTicketFinished(const std::shared_ptr<Gate>& gate,
                                                   TicketClause& clause,
                                                   std::shared_ptr<Gate>& opened,
                                                   FinishCascade& cascade) noexcept {
    CQueueJobAdapter* const job = gate->job;
    if (job == nullptr)
        return Outcome::Waits;
    switch (clause.Advance(gate)) {
        case StartInfo::Postpone:
            return Outcome::Waits;
        case StartInfo::Drop:
            cascade.Drop(TakeOut(*job));
            return Outcome::IsGone;
        case StartInfo::Start:
            break;
    }
    if (--gate->openClauses != 0)
        return Outcome::Waits;
    Open(*job, opened);
    return Outcome::IsReady;
}

// The tickets of an open gate are let go at once: a chain of jobs would otherwise hold each other's
// states to its end.
void PendingJobs::Open(CQueueJobAdapter& job, std::shared_ptr<Gate>& opened) noexcept {
    waiting_.Unlink(job);
    job.gate->job = nullptr;
    opened = std::move(job.gate);
    MakeReady(job);
}

// Only changed under the mutex, so there is no need for an atomic addition.
void PendingJobs::CountArrival() noexcept {
    arrivals_.store(Arrivals() + 1, std::memory_order_relaxed);
}

void PendingJobs::MakeReady(CQueueJobAdapter& job) noexcept {
    job.place = Place::Ready;
    ready_.Add(job);
    CountArrival();
}

std::shared_ptr<CQueueJobAdapter> PendingJobs::TakeOut(CQueueJobAdapter& job) noexcept {
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
            job.gate->clauses.AllOf([](TicketClause& clause) {
                clause.Unhook();
                return true;
            });
            break;
        case Place::Incoming:
        case Place::Nowhere:
            break;
    }
    job.place = Place::Nowhere;
    if (job.gate != nullptr)
        job.gate->job = nullptr;
    --count_;
    return std::move(job.self);
}

void PendingJobs::PutBack(std::shared_ptr<CQueueJobAdapter> taken) noexcept {
    CQueueJobAdapter& job = *taken;
    job.self = std::move(taken);
    ++count_;
    MakeReady(job);
}

std::shared_ptr<CQueueJobAdapter> PendingJobs::TakeFirstReady() noexcept {
    CQueueJobAdapter* const job = ready_.First();
    return job != nullptr ? TakeOut(*job) : nullptr;
}

std::shared_ptr<CQueueJobAdapter> PendingJobs::Poll(thread::mutex& held,
                                                    FinishCascade& cascade) noexcept {
    std::shared_ptr<CQueueJobAdapter> taken;
    {
        const std::uint64_t end = nextSequence_;
        PollCursor cursor(*this);
        while (cursor.Next() != nullptr && cursor.Next()->sequence < end) {
            CQueueJobAdapter& job = *cursor.Next();
            cursor.StepOver();
            const CQueueJobAdapter* const ready = ready_.First();
            if (taken == nullptr && ready != nullptr && ready->sequence < job.sequence)
                taken = TakeFirstReady();

            std::shared_ptr<Gate> gate = job.gate;
            StartInfo answer = StartInfo::Postpone;
            {
                const thread::unlock_guard released(held);
                answer = gate->condition();
            }
            if (gate->job == nullptr) {
                // Taken out meanwhile, and the condition with it: this may be its last owner.
                const thread::unlock_guard released(held);
                gate.reset();
            } else if (answer == StartInfo::Drop) {
                cascade.Drop(TakeOut(job));
            } else if (answer == StartInfo::Start && taken == nullptr) {
                taken = TakeOut(job);
            }
        }
    }
    return taken != nullptr ? std::move(taken) : TakeFirstReady();
}

void PendingJobs::DropAll(FinishCascade& cascade) noexcept {
    while (CQueueJobAdapter* const job = ready_.First())
        cascade.Drop(TakeOut(*job));
    while (CQueueJobAdapter* const job = polled_.First())
        cascade.Drop(TakeOut(*job));
    while (CQueueJobAdapter* const job = waiting_.First())
        cascade.Drop(TakeOut(*job));
}

} // namespace kq::concurrency
