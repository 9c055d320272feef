// The timed jobs of a scheduler and the loop that serves them.
#pragma once

#include <kq/concurrency/job_ticket.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "thread/clock.h"
#include "thread/condition_variable.h"
#include "thread/mutex.h"
#include "thread/recycling.h"

#include <boost/intrusive/set.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace kq::concurrency {

/// What a scheduler shares with its loop, which keeps it alive. The loop is a job of the
/// process-wide pool; it begins with the first timed job, ends when there is none, and there is
/// never more than one.
///
/// Callbacks are copied, called, queued and destroyed outside the mutex.
class TimedJobs : public std::enable_shared_from_this<TimedJobs> {
public:
    explicit TimedJobs(thread::Clock& clock = thread::SteadyClock()) noexcept : clock_(clock) {}

    TimedJobTicket Register(std::function<void(const TimedJobTicket&)> job,
                            std::chrono::milliseconds interval, bool repeat);
    bool Unregister(std::int32_t id);
    bool IsIdle(std::int32_t id);

    /// Forgets every timed job; the loop ends by itself.
    void Close();

private:
    using TimePoint = thread::Clock::TimePoint;
    using Nanoseconds = std::chrono::nanoseconds;
    /// Guarded by the mutex.
    struct Loop {
        bool isSettled = false; ///< it has begun, or the pool has a thread for it
    };
    struct Registration;
    struct Run;

    struct Entry : boost::intrusive::set_base_hook<> {
        Entry(bool theRepeat, Nanoseconds theInterval,
              std::shared_ptr<Registration> theRegistration) noexcept
            : repeat(theRepeat), interval(theInterval), registration(std::move(theRegistration)) {}

        bool repeat;
        TimePoint lastRun; ///< of the registration, later of the last time that a run was queued
        Nanoseconds interval;
        std::shared_ptr<Registration> registration;
        CJobTicket ticket;      ///< of the last run
        std::weak_ptr<Run> run; ///< the last run, until it has ended

        bool IsRunning() const noexcept;
        bool IsOver() const noexcept;
        /// What the time to wait for this one is, less the time of the clock.
        Nanoseconds Lead() const noexcept { return interval - lastRun.time_since_epoch(); }
        friend bool operator<(const Entry& left, const Entry& right) noexcept {
            return left.Lead() < right.Lead();
        }
    };
    /// By id, which is the order of registration.
    using Entries = std::map<std::int32_t, Entry, std::less<>,
                             thread::RecyclingAllocator<std::pair<const std::int32_t, Entry>>>;

    void Insert(Entries::node_type entry) noexcept KQ_REQUIRES(mutex_);
    Entries::node_type Extract(Entries::iterator entry) noexcept KQ_REQUIRES(mutex_);

    void StartLoop() KQ_REQUIRES(mutex_);
    void Reschedule(TimePoint now) noexcept KQ_REQUIRES(mutex_);

    void RunLoop(Loop& loop) noexcept KQ_EXCLUDES(mutex_);
    void WaitUntilDue(Nanoseconds least) noexcept KQ_REQUIRES(mutex_);
    Nanoseconds TimeToWait(TimePoint now) const noexcept KQ_REQUIRES(mutex_);
    bool QueueDueRuns() noexcept KQ_REQUIRES(mutex_);
    bool QueueRun(Entries::value_type& due, TimePoint now) noexcept KQ_REQUIRES(mutex_);

    thread::Clock& clock_;

    thread::mutex mutex_;
    thread::condition_variable wakeUp_;
    thread::condition_variable loopSettled_; // or could not be started
    bool isLoopAsleep_ KQ_GUARDED_BY(mutex_) = false;
    // When it has to look again, while it sleeps.
    TimePoint wakeTime_ KQ_GUARDED_BY(mutex_){};
    // Not later than that, unless somebody has woken it.
    TimePoint sleepsUntil_ KQ_GUARDED_BY(mutex_){};
    Entries entries_ KQ_GUARDED_BY(mutex_);
    boost::intrusive::multiset<Entry> byLead_ KQ_GUARDED_BY(mutex_); // the same ones
    std::shared_ptr<Loop> loop_ KQ_GUARDED_BY(mutex_);               // null when there is none
    CJobTicket lastLoop_ KQ_GUARDED_BY(mutex_);
};

} // namespace kq::concurrency
