// The dispatchers of a lane.
#include "concurrency/lane_dispatch.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/finish_cascade.h"
#include "concurrency/run_job.h"
#include "thread/platform.h"

#include <utility>

namespace kq::concurrency {

// The caller has counted it in startingCount_.
void LaneCore::StartDispatcher() {
    for (;;) {
        std::shared_ptr<DispatcherStart> start;
        try {
            start = std::make_shared<DispatcherStart>(
                std::static_pointer_cast<LaneCore>(shared_from_this()));
            pool_.Start([start] { start->lane->Dispatch(*start); });
            return;
        } catch (...) {
            const thread::lock_guard guard(mutex_);
            // The pool keeps the loop; another thread of it may have taken it by now.
            const bool hasBegun = start != nullptr && !start->isCounted;
            if (hasBegun)
                return;
            if (start != nullptr)
                start->isCounted = false;
            // Those who left their job to this one have nobody else, and were not told.
            if (std::exchange(isStartCountedOn_, false))
                continue;
            if (--startingCount_ + activeCount_ == 0)
                gone_.notify_all();
            throw;
        }
    }
}

void LaneCore::Dispatch(DispatcherStart& start) noexcept {
    CurrentJobSlot& slot = CurrentJob();
    mutex_.lock();
    if (std::exchange(start.isCounted, false)) {
        --startingCount_;
    } else if (activeCount_ + startingCount_ >= maxDispatchers_) {
        mutex_.unlock(); // given up at its start, and others have come since
        return;
    }
    ++activeCount_;
    while (std::shared_ptr<CQueueJobAdapter> next = NextJob()) {
        CQueueJobAdapter& job = *next;
        CJobTicket ticket(std::move(next));
        job.gate.reset();
        RunJob(job.job, ticket, slot, this);
        ticket = CJobTicket();
        mutex_.lock();
    }
}

// Called with the lock, returns without it. Yields nothing when this dispatcher is to end.
std::shared_ptr<CQueueJobAdapter> LaneCore::NextJob() noexcept {
    ++lookingCount_;
    PausePlan pause;
    bool hasLingered = false;
    for (;;) {
        const std::uint32_t arrivals = jobs_.Arrivals();
        FinishCascade dropped;
        std::shared_ptr<CQueueJobAdapter> job =
            jobs_.HasPolled() ? jobs_.Poll(mutex_, dropped) : jobs_.TakeFirstReady();
        if (job != nullptr || !dropped.IsEmpty()) {
            // To end a job runs destructors, which is not looking for work either, and may even be
            // waiting for the job that was found.
            if (job != nullptr && !dropped.IsEmpty())
                jobs_.PutBack(std::move(job));
            --lookingCount_;
            const Help help = NeededHelp();
            mutex_.unlock();
            TryToGive(help);
            dropped.Run();
            if (job != nullptr)
                return job;
            mutex_.lock();
            ++lookingCount_;
            continue;
        }
        if (jobs_.Arrivals() != arrivals)
            continue;
        if (lookingCount_ > 1)
            break;
        if (jobs_.IsEmpty()) {
            if (std::exchange(hasLingered, true))
                break;
            Linger();
        } else if (!jobs_.HasPolled()) {
            Sleep();
        } else {
            Pause(pause);
        }
    }
    --lookingCount_;
    if (--activeCount_ + startingCount_ == 0)
        gone_.notify_all();
    mutex_.unlock();
    return nullptr;
}

// Those who feed a queue job by job would otherwise wake a thread for each.
void LaneCore::Linger() noexcept {
    constexpr int spins = 200;
    const std::uint32_t arrivals = jobs_.Arrivals();
    const std::atomic<std::uint32_t>& counter = jobs_.ArrivalCounter();
    const thread::unlock_guard released(mutex_);
    for (int spin = 0; spin != spins; ++spin) {
        if (counter.load(std::memory_order_relaxed) != arrivals)
            break;
        thread::platform::SpinPause();
    }
}

// Only tickets are waited for: whoever finishes the last one of a job wakes the sleeper.
void LaneCore::Sleep() noexcept {
    isSleeping_ = true;
    while (isSleeping_)
        woken_.wait(mutex_);
}

// A pass has changed nothing. Yields a few times, a little longer each time, and then sleeps for a
// millisecond between passes, or less when something happens that could matter to a condition.
void LaneCore::Pause(PausePlan& plan) noexcept {
    constexpr unsigned int yieldingPasses = 16;
    constexpr std::uint32_t longestPauseMilliseconds = 1;
    if (++plan.passes <= yieldingPasses) {
        const thread::unlock_guard released(mutex_);
        for (unsigned int yields = 0; yields != plan.passes; ++yields)
            thread::platform::YieldSlice();
    } else if (!plan.bell) {
        // What rang before the bell was listened to needs one more pass.
        plan.bell.emplace();
        plan.resolution.emplace();
    } else {
        isPausing_ = true;
        {
            const thread::unlock_guard released(mutex_);
            plan.bell->Pause(longestPauseMilliseconds);
        }
        isPausing_ = false;
    }
}

} // namespace kq::concurrency
