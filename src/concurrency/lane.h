// A queue of jobs that run on a pool, a limited number at once.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include "concurrency/gate.h"
#include "concurrency/pending_jobs.h"
#include "concurrency/queue_job_adapter.h"
#include "thread/condition_variable.h"
#include "thread/mutex.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kq::concurrency {

class FinishCascade;

/// What a lane and its dispatchers share. A dispatcher is a loop on a pool thread that looks for a
/// job, runs it, and looks again; it ends when it finds nothing and is not needed.
///
/// Two rules make every startable job start while there is room:
/// - A dispatcher ends only when another one is looking, or when nothing is pending. So while
///   anything is pending there is a dispatcher, and the last one with nothing to do sleeps.
/// - Whoever makes a job startable, or takes one and leaves others, sees to it that somebody looks:
///   wakes the sleeper or starts a dispatcher. Whoever fails to start one tries again for those who
///   relied on it.
///
/// The core is kept alive by its dispatchers and by the jobs that wait on tickets. It does not own
/// the pool, whose last reference must not be dropped on one of its own threads; the owner of the
/// lane does, and drains the lane before it lets go.
class LaneCore final : public GateKeeper {
public:
    LaneCore(CThreadPool& pool, std::size_t maxDispatchers) noexcept
        : pool_(pool), maxDispatchers_(maxDispatchers) {}

    CJobTicket Queue(std::shared_ptr<CQueueJobAdapter> job);
    bool Remove(CQueueJobAdapter& job);

    /// Whether nothing is pending and no dispatcher is left.
    bool IsIdle() const noexcept;

    /// How many jobs were ever queued.
    std::uint64_t QueuedCount() const noexcept;

    /// Waits until nothing is pending and no dispatcher is left. Jobs for which no thread can be
    /// made end as removed.
    void Drain();

    void OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                          FinishCascade& cascade) noexcept override;

private:
    /// What has to happen, once the lock is released, for somebody to look for work.
    enum class Help { None, WakeSleeper, RingBell, StartDispatcher };
    class DispatcherStart;
    class PausePlan;

    Help NeededHelp() noexcept KQ_REQUIRES(mutex_);
    void Give(Help help) KQ_EXCLUDES(mutex_);
    void TryToGive(Help help) noexcept KQ_EXCLUDES(mutex_);
    void StartDispatcher() KQ_EXCLUDES(mutex_);

    void Dispatch(DispatcherStart& start) noexcept KQ_EXCLUDES(mutex_);
    std::shared_ptr<CQueueJobAdapter> NextJob() noexcept KQ_RELEASE(mutex_);
    void Linger() noexcept KQ_REQUIRES(mutex_);
    void Sleep() noexcept KQ_REQUIRES(mutex_);
    void Pause(PausePlan& plan) noexcept KQ_REQUIRES(mutex_);

    CThreadPool& pool_;
    const std::size_t maxDispatchers_;

    mutable thread::mutex mutex_;
    thread::condition_variable woken_;
    thread::condition_variable gone_; // no dispatcher is left

    PendingJobs jobs_ KQ_GUARDED_BY(mutex_);

    // Dispatchers whose thread was asked for; at most one.
    std::size_t startingCount_ KQ_GUARDED_BY(mutex_) = 0;
    // Somebody has left work to it since.
    bool isStartCountedOn_ KQ_GUARDED_BY(mutex_) = false;
    // Dispatchers on a thread, and those of them that run no job.
    std::size_t activeCount_ KQ_GUARDED_BY(mutex_) = 0;
    std::size_t lookingCount_ KQ_GUARDED_BY(mutex_) = 0;
    // One of these waits for woken_; for the bell.
    bool isSleeping_ KQ_GUARDED_BY(mutex_) = false;
    bool isPausing_ KQ_GUARDED_BY(mutex_) = false;
};

} // namespace kq::concurrency
