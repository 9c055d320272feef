// Callbacks after a delay or at intervals.
#pragma once

#include <kq/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace kq {
namespace concurrency {

/// What a ticket of a timed job says.
struct TimedJobState {
    std::int32_t id; ///< unique in the process: 1, 2, 3, ...
    bool repeat;     ///< as registered; always false in the ticket that a callback gets
};

/// Names a registered timed job; an empty one names none. Whether two tickets name the same job is
/// decided by their ids.
using TimedJobTicket = std::shared_ptr<TimedJobState>;

/// Runs callbacks after a delay, once or again and again, as jobs of `jobQueue`.
///
/// - A timed job never has two runs at once: one that is due while its previous run has not
/// finished
///   waits for that.
/// - After `Unregister` has returned no new run of the job begins; one that has begun goes on.
/// - Runs may come late, never early: the delay is a lower bound.
/// - A callback that throws ends its run, not the repetition.
/// - Nothing runs, and no time is spent, while no timed job is due; while any is registered, one
/// pool
///   thread sleeps until the next is.
///
/// Every operation may be called from any thread and from a callback, which may also unregister
/// itself. The order of the virtual functions is part of the binary interface.
class KQ_API ITimedJobScheduler {
public:
    /// Has `job` called `interval` from now and, when `repeat` is true, every `interval` after a
    /// run was begun. A negative interval counts as 0. The callback gets a ticket with the same id,
    /// which it may pass to `Unregister`. Throws `std::runtime_error("Thread could not be
    /// created!")` when there is no thread for the scheduler's loop, the error of the empty
    /// singleton when the process-wide pool is not installed, and `std::bad_alloc`; nothing is
    /// registered then.
    virtual TimedJobTicket Register(std::function<void(const TimedJobTicket&)> job,
                                    std::chrono::milliseconds interval, bool repeat) = 0;

    /// Removes the timed job, and its run if one is queued but has not begun. Returns whether it
    /// was registered: false for an empty ticket, an unknown id, and a job that does not repeat and
    /// has had its run queued.
    virtual bool Unregister(const TimedJobTicket& ticket) = 0;

    /// Whether the timed job is registered and has no run queued or running; false for an empty
    /// ticket and an unknown id.
    virtual bool IsIdle(const TimedJobTicket& ticket) = 0;

    ITimedJobScheduler(const ITimedJobScheduler&) = delete;
    ITimedJobScheduler& operator=(const ITimedJobScheduler&) = delete;
    virtual ~ITimedJobScheduler();

protected:
    ITimedJobScheduler() = default;
};

/// Makes a new process-wide scheduler; one that exists is destroyed after the replacement. The
/// library calls this when it is loaded.
KQ_API void StartupJobScheduler();

/// Ends the process-wide scheduler: its timed jobs are forgotten, runs that are queued already
/// still take place. Does nothing when there is none. The library calls this first when it shuts
/// down.
KQ_API void ShutdownJobScheduler();

/// The process-wide scheduler, which has to exist.
KQ_API ITimedJobScheduler& GetTimedJobScheduler();

/// Whether the process-wide scheduler exists.
KQ_API bool HasTimedJobScheduler() noexcept;

} // namespace concurrency
} // namespace kq
