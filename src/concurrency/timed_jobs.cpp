#include "concurrency/timed_jobs.h"

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/thread/scoped_locks.h>

#include "concurrency/job_state.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace kq::concurrency {

namespace {

/// The ids of all schedulers of the process.
std::atomic<std::int32_t> lastId{0};

using Nanoseconds = std::chrono::nanoseconds;

constexpr std::chrono::hours longestWait(24 * 10);

/// Negative intervals are 0, those beyond the range the largest.
Nanoseconds Saturated(std::chrono::milliseconds interval) noexcept {
    if (interval <= std::chrono::milliseconds::zero())
        return Nanoseconds::zero();
    constexpr auto largest =
        std::chrono::duration_cast<std::chrono::milliseconds>(Nanoseconds::max());
    return interval > largest ? Nanoseconds::max() : Nanoseconds(interval);
}

// Without a UI queue the job queue refuses; the run is cancelled in any case.
void Withdraw(CJobQueue& queue, const CJobTicket& ticket) noexcept {
    try {
        queue.Remove(ticket);
    } catch (...) {
        return;
    }
}

} // namespace

struct TimedJobs::Registration {
    enum class Phase { Waiting, Begun, Cancelled };

    std::int32_t id = 0;
    std::function<void(const TimedJobTicket&)> callback;
    /// Of the next run or the present one. Who unregisters and a run that begins decide here which
    /// of them came first, because a run may begin, and end, before the loop knows that it is
    /// queued.
    std::atomic<Phase> phase{Phase::Waiting};

    bool Begin() noexcept {
        Phase waiting = Phase::Waiting;
        return phase.compare_exchange_strong(waiting, Phase::Begun);
    }
    /// Returns false when it is too late: the only run has begun.
    bool Cancel(bool repeats) noexcept {
        if (repeats) {
            phase = Phase::Cancelled;
            return true;
        }
        Phase waiting = Phase::Waiting;
        return phase.compare_exchange_strong(waiting, Phase::Cancelled);
    }
};

/// One run, alive as long as its job has not ended.
struct TimedJobs::Run {
    std::shared_ptr<Registration> registration;

    void operator()() const {
        if (registration->Begin())
            registration->callback(
                std::make_shared<TimedJobState>(TimedJobState{registration->id, false}));
    }
};

TimedJobTicket TimedJobs::Register(std::function<void(const TimedJobTicket&)> job,
                                   std::chrono::milliseconds interval, bool repeat) {
    auto registration = thread::MakeRecycled<Registration>();
    registration->callback = std::move(job);
    auto ticket = thread::MakeRecycled<TimedJobState>(TimedJobState{0, repeat});

    Entries made; // outside the lock, with everything that may fail
    made.emplace(0, Entry(repeat, Saturated(interval), registration));

    Entries::node_type takenBack;
    const thread::lock_guard guard(mutex_);
    Entries::node_type entry = made.extract(made.begin());
    const std::int32_t id = ++lastId;
    entry.key() = ticket->id = registration->id = id;
    const TimePoint now = entry.mapped().lastRun = clock_.Now();
    Insert(std::move(entry));
    Reschedule(now);
    // A loop that somebody else is starting will serve this job, unless it cannot be started.
    while (loop_ != nullptr && !loop_->isSettled)
        loopSettled_.wait(mutex_);
    if (loop_ != nullptr || entries_.count(id) == 0)
        return ticket;
    try {
        StartLoop();
    } catch (...) {
        // Before anybody else starts a loop, which would serve it. Destroyed after the lock.
        if (const auto failed = entries_.find(id); failed != entries_.end())
            takenBack = Extract(failed);
        throw;
    }
    return ticket;
}

void TimedJobs::Insert(Entries::node_type entry) noexcept {
    // Ids are used again after four thousand million registrations.
    if (const auto inserted = entries_.insert(std::move(entry)); inserted.inserted)
        byLead_.insert(inserted.position->second);
}

TimedJobs::Entries::node_type TimedJobs::Extract(Entries::iterator entry) noexcept {
    byLead_.erase(byLead_.iterator_to(entry->second));
    return entries_.extract(entry);
}

// The lock is released meanwhile: making a thread takes its time, and may fail.
void TimedJobs::StartLoop() {
    const auto loop = std::make_shared<Loop>();
    loop_ = loop;
    const CJobTicket previous = lastLoop_;
    CJobTicket ticket;
    std::exception_ptr error;
    {
        const thread::unlock_guard released(mutex_);
        try {
            const std::shared_ptr<CThreadPool> pool = threadPool.GetShared();
            ticket = (pool != nullptr ? *pool : threadPool.Get())
                         .Start([self = shared_from_this(), loop, previous] {
                             std::optional<std::string> ignored;
                             previous.Wait(ignored);
                             self->RunLoop(*loop);
                         });
        } catch (...) {
            error = std::current_exception();
        }
    }
    loopSettled_.notify_all();
    if (error && !loop->isSettled) {
        // The pool keeps the loop, and may find a thread for it much later.
        loop_.reset();
        std::rethrow_exception(error);
    }
    loop->isSettled = true;
    // By now it may have ended, and others may have come.
    if (loop_ == loop)
        lastLoop_ = std::move(ticket);
}

// Called after every change: a loop that sleeps computes its wait anew, from now on. It has to be
// woken for that only when it would sleep too long.
void TimedJobs::Reschedule(TimePoint now) noexcept {
    if (!isLoopAsleep_)
        return;
    wakeTime_ = entries_.empty() ? now : now + std::min<Nanoseconds>(TimeToWait(now), longestWait);
    if (wakeTime_ < sleepsUntil_) {
        sleepsUntil_ = TimePoint::min();
        wakeUp_.notify_all();
    }
}

bool TimedJobs::Unregister(std::int32_t id) {
    Entries::node_type removed;
    {
        const thread::lock_guard guard(mutex_);
        const auto entry = entries_.find(id);
        if (entry == entries_.end())
            return false;
        if (!entry->second.registration->Cancel(entry->second.repeat))
            return false;
        removed = Extract(entry);
        Reschedule(clock_.Now());
    }
    if (removed.mapped().ticket.State() == nullptr)
        return true;
    // A run that is past the queue by now finds that it is cancelled.
    if (const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared())
        Withdraw(*queue, removed.mapped().ticket);
    return true;
}

bool TimedJobs::IsIdle(std::int32_t id) {
    const thread::lock_guard guard(mutex_);
    const auto entry = entries_.find(id);
    return entry != entries_.end() && !entry->second.IsRunning() && !entry->second.IsOver();
}

void TimedJobs::Close() {
    Entries entries;
    const thread::lock_guard guard(mutex_);
    byLead_.clear();
    entries.swap(entries_);
    Reschedule(clock_.Now());
}

bool TimedJobs::Entry::IsRunning() const noexcept {
    return !run.expired() || (ticket.State() != nullptr && !ticket.State()->IsFinished());
}

// The loop has not come to taking it off the list.
bool TimedJobs::Entry::IsOver() const noexcept {
    return !repeat && registration->phase == Registration::Phase::Begun;
}

void TimedJobs::RunLoop(Loop& loop) noexcept {
    constexpr std::chrono::milliseconds leastAfterIdlePass(1);
    Nanoseconds least = Nanoseconds::zero();
    const thread::lock_guard guard(mutex_);
    if (loop_.get() != &loop)
        return; // given up at its start
    loop.isSettled = true;
    loopSettled_.notify_all();
    while (!entries_.empty()) {
        WaitUntilDue(least);
        // A job that is due but still runs would make this loop spin.
        least = QueueDueRuns() ? Nanoseconds::zero() : leastAfterIdlePass;
    }
    loop_.reset();
}

void TimedJobs::WaitUntilDue(Nanoseconds least) noexcept {
    const TimePoint now = clock_.Now();
    const Nanoseconds wait = std::min<Nanoseconds>(std::max(TimeToWait(now), least), longestWait);
    if (wait == Nanoseconds::zero()) {
        const thread::unlock_guard released(mutex_);
        return;
    }
    wakeTime_ = now + wait;
    isLoopAsleep_ = true;
    while (clock_.Now() < wakeTime_) {
        sleepsUntil_ = wakeTime_;
        clock_.WaitUntil(wakeUp_, mutex_, wakeTime_);
    }
    isLoopAsleep_ = false;
}

// The time that has gone by is added, not taken off, so a wait is never shorter than the smallest
// interval and a job may come late. Hosts have come to rely on the pace that this gives.
Nanoseconds TimedJobs::TimeToWait(TimePoint now) const noexcept {
    if (byLead_.empty())
        return Nanoseconds::max();
    const Nanoseconds lead = byLead_.begin()->Lead();
    const Nanoseconds elapsed = now.time_since_epoch();
    return lead > Nanoseconds::max() - elapsed ? Nanoseconds::max() : lead + elapsed;
}

// In the order of registration. Returns whether there were any.
bool TimedJobs::QueueDueRuns() noexcept {
    bool hasQueued = false;
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        const TimePoint now = clock_.Now();
        const Entry& timed = entry->second;
        if (now - timed.lastRun < timed.interval || timed.IsRunning()) {
            ++entry;
            continue;
        }
        // The entries may change while the run is queued.
        const std::int32_t id = entry->first;
        hasQueued = QueueRun(*entry, now) || hasQueued;
        entry = entries_.upper_bound(id);
    }
    return hasQueued;
}

// Releases the lock; `due` may be gone afterwards. When the run cannot be queued, because the queue
// is gone or there is no memory, the job stays due.
bool TimedJobs::QueueRun(Entries::value_type& due, TimePoint now) noexcept {
    const std::int32_t id = due.first;
    std::shared_ptr<Registration> registration = due.second.registration;
    std::shared_ptr<CJobQueue> queue;
    std::weak_ptr<Run> queuedRun;
    CJobTicket ticket;
    try {
        auto run = std::make_shared<Run>(Run{registration});
        due.second.run = queuedRun = run;
        registration->phase = Registration::Phase::Waiting;
        const thread::unlock_guard released(mutex_);
        queue = jobQueue.GetShared();
        Job job([run = std::move(run)] { (*run)(); });
        if (queue != nullptr)
            ticket = queue->Queue(std::move(job));
    } catch (...) {
        // A queue that found no thread has kept the run all the same, and then it is alive.
    }
    const bool isQueued = ticket.State() != nullptr || !queuedRun.expired() ||
                          registration->phase == Registration::Phase::Begun;
    Entries::node_type ended;
    if (const auto entry = entries_.find(id); entry != entries_.end()) {
        entry->second.ticket = ticket;
        if (isQueued) {
            Entries::node_type begun = Extract(entry);
            begun.mapped().lastRun = now;
            if (begun.mapped().repeat)
                Insert(std::move(begun));
            else
                ended = std::move(begun);
        }
    }
    const thread::unlock_guard released(mutex_);
    // By somebody who could not know this ticket.
    if (registration->phase == Registration::Phase::Cancelled && queue != nullptr)
        Withdraw(*queue, ticket);
    registration.reset();
    queue.reset();
    ended = Entries::node_type();
    return isQueued;
}

} // namespace kq::concurrency
