// The condition variable for the library's own mutex.
#pragma once

#include <kq/thread/scoped_locks.h>

#include "thread/deadline.h"
#include "thread/mutex.h"
#include "thread/platform.h"

#include <atomic>
#include <cstdint>

namespace kq::thread {

/// A condition variable of eight bytes for `thread::mutex`: no kernel object, no destructor, and no
/// system call when nobody waits. Waits may end spuriously.
///
/// Notifying without the mutex is fine as long as the state that the waiter looks at was changed
/// under it. The variable may be destroyed as soon as no thread waits on it or is about to.
class condition_variable {
public:
    constexpr condition_variable() noexcept = default;
    condition_variable(const condition_variable&) = delete;
    condition_variable& operator=(const condition_variable&) = delete;

    /// The caller holds the mutex, and holds it again afterwards.
    void wait(mutex& held) noexcept KQ_REQUIRES(held) { WaitFor(held, platform::infinite); }

    /// Waits until notified or until the deadline; the caller looks at the clock.
    void wait_until(mutex& held, const Deadline& deadline) noexcept KQ_REQUIRES(held) {
        WaitFor(held, deadline.RemainingMilliseconds());
    }

    void notify_one() noexcept {
        if (waiters_.load(std::memory_order_relaxed) == 0)
            return;
        sequence_.fetch_add(1, std::memory_order_release);
        platform::WakeOne(sequence_);
    }

    void notify_all() noexcept {
        if (waiters_.load(std::memory_order_relaxed) == 0)
            return;
        sequence_.fetch_add(1, std::memory_order_release);
        platform::WakeAll(sequence_);
    }

private:
    void WaitFor(mutex& held, std::uint32_t milliseconds) noexcept KQ_REQUIRES(held) {
        // Both words change before the mutex is released, so a notifier that came by the mutex
        // later sees this waiter, and one that came earlier has left its mark on what the waiter
        // has just looked at.
        waiters_.fetch_add(1, std::memory_order_relaxed);
        const std::uint32_t seen = sequence_.load(std::memory_order_relaxed);
        {
            const unlock_guard released(held);
            platform::WaitOnWord(sequence_, seen, milliseconds);
        }
        waiters_.fetch_sub(1, std::memory_order_relaxed);
    }

    std::atomic<std::uint32_t> sequence_{0};
    std::atomic<std::uint32_t> waiters_{0};
};

} // namespace kq::thread
