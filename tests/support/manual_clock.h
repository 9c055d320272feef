// Time that stands still until a test moves it.
#pragma once

#include "support/hand_shake.h"
#include "thread/clock.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <vector>

namespace kq_test {

/// A clock that moves only when it is told. A thread that waits on it waits until it is notified or
/// until the clock was moved past its deadline.
///
/// A test moves the clock when it has seen, by one of the hand-shakes, that the thread under test
/// waits for the time that it should wait for: then nothing depends on how fast anybody is.
class ManualClock final : public kq::thread::Clock {
public:
    using Duration = TimePoint::duration;

    TimePoint Now() const noexcept override {
        const std::lock_guard guard(mutex_);
        ++reads_;
        return now_;
    }

    void WaitUntil(kq::thread::condition_variable& variable, kq::thread::mutex& held,
                   TimePoint deadline) noexcept override KQ_REQUIRES(held) {
        Waiter waiter{variable, held, deadline};
        {
            const std::lock_guard guard(mutex_);
            if (deadline <= now_)
                return;
            waiters_.push_back(&waiter);
            changed_.notify_all();
        }
        // Whoever moves the clock now comes by the caller's mutex before it notifies.
        variable.wait(held);
        const kq::thread::unlock_guard released(held);
        std::unique_lock own(mutex_);
        waiters_.remove(&waiter);
        changed_.wait(own, [&] { return !waiter.isBeingWoken; });
        changed_.notify_all();
    }

    /// Moves the clock, and wakes those whose deadline has come. From any thread, also from one
    /// that the thread under test has called, but not under the mutex of a waiter.
    void Advance(Duration duration) {
        std::vector<Waiter*> due;
        {
            const std::lock_guard guard(mutex_);
            now_ += duration;
            const auto firstDue = std::stable_partition(
                waiters_.begin(), waiters_.end(),
                [this](const Waiter* waiter) { return waiter->deadline > now_; });
            due.assign(firstDue, waiters_.end());
            waiters_.erase(firstDue, waiters_.end());
            for (Waiter* const waiter : due)
                waiter->isBeingWoken = true;
        }
        Wake(due);
    }

    /// Wakes those who wait before their time: a wait may end early at any moment.
    void WakeEarly() {
        std::vector<Waiter*> woken;
        {
            const std::lock_guard guard(mutex_);
            woken.assign(waiters_.begin(), waiters_.end());
            waiters_.clear();
            for (Waiter* const waiter : woken)
                waiter->isBeingWoken = true;
        }
        Wake(woken);
    }

    /// Blocks until exactly `count` threads wait on this clock.
    void AwaitWaiters(std::size_t count) const {
        Await("threads that wait on the clock", [&] { return waiters_.size() == count; });
    }

    /// Whether a thread waits until `deadline` and no other thread waits.
    bool IsAwaited(TimePoint deadline) const {
        const std::lock_guard guard(mutex_);
        return waiters_.size() == 1 && waiters_.front()->deadline == deadline;
    }

    /// How often the clock was read.
    std::size_t Reads() const {
        const std::lock_guard guard(mutex_);
        return reads_;
    }

private:
    struct Waiter {
        kq::thread::condition_variable& variable;
        kq::thread::mutex& mutex;
        TimePoint deadline;
        bool isBeingWoken = false; // the one who moves the clock still uses this
    };

    void Wake(const std::vector<Waiter*>& woken) {
        for (Waiter* const waiter : woken) {
            { const std::lock_guard guard(waiter->mutex); }
            waiter->variable.notify_all();
        }
        const std::lock_guard guard(mutex_);
        for (Waiter* const waiter : woken)
            waiter->isBeingWoken = false;
        changed_.notify_all();
    }

    template <class Condition>
    void Await(const char* what, Condition condition) const {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, handShakeLimit, condition))
            FailHandShake(what);
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable std::size_t reads_ = 0;
    TimePoint now_{std::chrono::hours(1)};
    std::list<Waiter*> waiters_;
};

} // namespace kq_test
