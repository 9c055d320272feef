// The timed jobs of a scheduler and the loop that serves them.
#pragma once

#include <kq/concurrency/job_ticket.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "thread/clock.h"
#include "thread/condition_variable.h"
#include "thread/mutex.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

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

    struct Entry {
        bool repeat;
        TimePoint lastRun; ///< of the registration, later of the last time that a run was queued
        Nanoseconds interval;
        std::shared_ptr<Registration> registration;
        CJobTicket ticket;      ///< of the last run
        std::weak_ptr<Run> run; ///< the last run, until it has ended

        bool IsRunning() const noexcept;
    };
    /// By id, which is the order of registration.
    using Entries = std::map<std::int32_t, Entry>;

    void StartLoop() KQ_REQUIRES(mutex_);
    void NotifyLoop() noexcept KQ_REQUIRES(mutex_);

    void RunLoop(Loop& loop) noexcept KQ_EXCLUDES(mutex_);
    bool WaitUntilDue(Nanoseconds least) noexcept KQ_REQUIRES(mutex_);
    Nanoseconds TimeToWait(TimePoint now) const noexcept KQ_REQUIRES(mutex_);
    bool QueueDueRuns() noexcept KQ_REQUIRES(mutex_);
    bool QueueRun(Entries::value_type& due, TimePoint now) noexcept KQ_REQUIRES(mutex_);

    thread::Clock& clock_;

    thread::mutex mutex_;
    thread::condition_variable wakeUp_;
    thread::condition_variable loopSettled_; // or could not be started
    // Grows whenever the loop has to look again.
    std::uint32_t changes_ KQ_GUARDED_BY(mutex_) = 0;
    Entries entries_ KQ_GUARDED_BY(mutex_);
    std::shared_ptr<Loop> loop_ KQ_GUARDED_BY(mutex_); // null when there is none
    CJobTicket lastLoop_ KQ_GUARDED_BY(mutex_);
};

} // namespace kq::concurrency
