#include "concurrency/timed_jobs.h"

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>

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

/// Negative intervals are 0, those beyond the range the largest.
Nanoseconds Saturated(std::chrono::milliseconds interval) noexcept {
    if (interval <= interval.zero())
        return Nanoseconds::zero();
    constexpr auto largest =
        std::chrono::duration_cast<std::chrono::milliseconds>(Nanoseconds::max());
    return interval > largest ? Nanoseconds::max() : Nanoseconds(interval);
}

/// Neither is negative.
Nanoseconds SaturatedSum(Nanoseconds left, Nanoseconds right) noexcept {
    return left > Nanoseconds::max() - right ? Nanoseconds::max() : left + right;
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
    std::int32_t id;
    std::function<void(const TimedJobTicket&)> callback;
    std::atomic<bool> isCancelled{false};
};

/// One run, alive as long as its job has not ended.
struct TimedJobs::Run {
    std::shared_ptr<Registration> registration;

    void operator()() const {
        if (!registration->isCancelled)
            registration->callback(
                std::make_shared<TimedJobState>(TimedJobState{registration->id, false}));
    }
};

TimedJobTicket TimedJobs::Register(std::function<void(const TimedJobTicket&)> job,
                                   std::chrono::milliseconds interval, bool repeat) {
    auto registration = std::make_shared<Registration>();
    registration->callback = std::move(job);
    auto ticket = std::make_shared<TimedJobState>(TimedJobState{0, repeat});

    Lock lock(mutex_);
    // Before anything is moved in: what fails here must not destroy the callback under the lock.
    if (entries_.size() == entries_.capacity())
        entries_.reserve(std::max<std::size_t>(8, 2 * entries_.capacity()));
    ticket->id = registration->id = ++lastId;
    entries_.push_back({ticket->id,
                        repeat,
                        clock_.Now(),
                        Saturated(interval),
                        std::move(registration),
                        CJobTicket(),
                        {}});
    while (loopState_ == LoopState::IsStarting)
        loopStarted_.wait(lock);
    if (loopState_ == LoopState::None) {
        try {
            StartLoop(lock);
        } catch (...) {
            lock.unlock();
            Unregister(ticket->id);
            throw;
        }
    }
    NotifyLoop();
    return ticket;
}

// The lock is released meanwhile: making a thread takes its time, and may fail.
void TimedJobs::StartLoop(Lock& lock) {
    loopState_ = LoopState::IsStarting;
    const CJobTicket previous = loop_;
    lock.unlock();
    CJobTicket started;
    std::exception_ptr error;
    try {
        const std::shared_ptr<CThreadPool> pool = threadPool.GetShared();
        started = (pool != nullptr ? *pool : threadPool.Get())
                      .Start([self = shared_from_this(), previous] {
                          std::optional<std::string> ignored;
                          previous.Wait(ignored);
                          self->RunLoop();
                      });
    } catch (...) {
        error = std::current_exception();
    }
    lock.lock();
    loopStarted_.notify_all();
    if (error) {
        loopState_ = LoopState::None;
        std::rethrow_exception(error);
    }
    loop_ = std::move(started);
    // Unless it has begun, found nothing, and ended by now.
    if (loopState_ == LoopState::IsStarting)
        loopState_ = LoopState::Runs;
}

void TimedJobs::NotifyLoop() noexcept {
    ++changes_;
    wakeUp_.notify_all();
}

bool TimedJobs::Unregister(std::int32_t id) {
    std::shared_ptr<Registration> registration;
    CJobTicket ticket;
    {
        const std::lock_guard guard(mutex_);
        Entry* const entry = Find(id);
        if (entry == nullptr)
            return false;
        registration = std::move(entry->registration);
        ticket = std::move(entry->ticket);
        registration->isCancelled = true;
        entries_.erase(entries_.begin() + (entry - entries_.data()));
        NotifyLoop();
    }
    // A run that is past the queue by now finds that it is cancelled.
    if (const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared())
        Withdraw(*queue, ticket);
    return true;
}

bool TimedJobs::IsIdle(std::int32_t id) {
    const std::lock_guard guard(mutex_);
    const Entry* const entry = Find(id);
    return entry != nullptr && !entry->IsRunning();
}

void TimedJobs::Close() {
    std::vector<Entry> entries;
    const std::lock_guard guard(mutex_);
    entries.swap(entries_);
    NotifyLoop();
}

// Of the entry, or of the first one behind its place.
std::size_t TimedJobs::IndexOf(std::int32_t id) const noexcept {
    const auto found =
        std::lower_bound(entries_.begin(), entries_.end(), id,
                         [](const Entry& entry, std::int32_t wanted) { return entry.id < wanted; });
    return static_cast<std::size_t>(found - entries_.begin());
}

TimedJobs::Entry* TimedJobs::Find(std::int32_t id) noexcept {
    const std::size_t index = IndexOf(id);
    return index != entries_.size() && entries_[index].id == id ? &entries_[index] : nullptr;
}

bool TimedJobs::Entry::IsRunning() const noexcept {
    return !run.expired() || (ticket.State() != nullptr && !ticket.State()->IsFinished());
}

void TimedJobs::RunLoop() noexcept {
    constexpr std::chrono::milliseconds leastAfterIdlePass(1);
    Nanoseconds least = Nanoseconds::zero();
    Lock lock(mutex_);
    while (!entries_.empty()) {
        if (!WaitUntilDue(lock, least))
            continue;
        // A job that is due but still runs would make this loop spin.
        least = QueueDueRuns(lock) ? Nanoseconds::zero() : leastAfterIdlePass;
    }
    loopState_ = LoopState::None;
}

// False when something changed meanwhile and the time has to be computed anew.
bool TimedJobs::WaitUntilDue(Lock& lock, Nanoseconds least) noexcept {
    constexpr std::chrono::hours longest(24 * 10);
    const TimePoint now = clock_.Now();
    const Nanoseconds wait = std::min<Nanoseconds>(std::max(TimeToWait(now), least), longest);
    if (wait == Nanoseconds::zero()) {
        lock.unlock();
        lock.lock();
        return true;
    }
    const std::uint32_t changes = changes_;
    while (clock_.Now() < now + wait) {
        clock_.WaitUntil(wakeUp_, lock, now + wait);
        if (changes_ != changes)
            return false;
    }
    return true;
}

// The time that has gone by is added, not taken off, so a wait is never shorter than the smallest
// interval and a job may come late. Hosts have come to rely on the pace that this gives.
Nanoseconds TimedJobs::TimeToWait(TimePoint now) const noexcept {
    Nanoseconds shortest = Nanoseconds::max();
    for (const Entry& entry : entries_)
        shortest = std::min(shortest, SaturatedSum(entry.interval, now - entry.lastRun));
    return shortest;
}

// In the order of registration. Returns whether there were any.
bool TimedJobs::QueueDueRuns(Lock& lock) noexcept {
    bool hasQueued = false;
    for (std::size_t index = 0; index < entries_.size();) {
        Entry& entry = entries_[index];
        if (clock_.Now() - entry.lastRun < entry.interval || entry.IsRunning()) {
            ++index;
            continue;
        }
        // The entries may change while the run is queued.
        const std::int32_t id = entry.id;
        hasQueued = QueueRun(lock, entry) || hasQueued;
        index = IndexOf(id + 1);
    }
    return hasQueued;
}

// Releases the lock; `due` may be gone afterwards. When the run cannot be queued, because the queue
// is gone or there is no memory, the job stays due.
bool TimedJobs::QueueRun(Lock& lock, Entry& due) noexcept {
    const std::int32_t id = due.id;
    const TimePoint now = clock_.Now();
    std::weak_ptr<Run> queuedRun;
    CJobTicket ticket;
    std::shared_ptr<CJobQueue> queue;
    try {
        auto run = std::make_shared<Run>(Run{due.registration});
        due.run = queuedRun = run;
        lock.unlock();
        queue = jobQueue.GetShared();
        Job job([run = std::move(run)] { (*run)(); });
        if (queue != nullptr)
            ticket = queue->Queue(std::move(job));
    } catch (...) {
        // A queue that found no thread has kept the run all the same, and then it is alive.
    }
    const bool isQueued = ticket.State() != nullptr || !queuedRun.expired();
    std::shared_ptr<Registration> ended;
    if (!lock.owns_lock())
        lock.lock();
    if (Entry* const entry = Find(id)) {
        entry->ticket = ticket;
        if (isQueued)
            entry->lastRun = now;
        if (isQueued && !entry->repeat) {
            ended = std::move(entry->registration);
            entries_.erase(entries_.begin() + (entry - entries_.data()));
        }
    } else if (queue != nullptr) {
        // Unregistered meanwhile, by somebody who could not know this ticket.
        lock.unlock();
        Withdraw(*queue, ticket);
        lock.lock();
    }
    lock.unlock();
    ended.reset();
    queue.reset();
    lock.lock();
    return isQueued;
}

} // namespace kq::concurrency
