// The library's own mutual exclusion lock.
#pragma once

#include <kq/thread/annotations.h>

#include "thread/platform.h"

#include <atomic>
#include <cstdint>

namespace kq::thread {

/// A mutual exclusion lock of four bytes that creates no kernel object: an atomic operation when
/// free, a sleep on its own address when not. Constant-initialised and trivially destructible, so
/// that a thread that was killed while it held one cannot hang the process exit.
///
/// Everything in the library that may be held for more than a few instructions uses this one;
/// `spin_mutex` is for the rest.
class KQ_CAPABILITY mutex {
public:
    constexpr mutex() noexcept = default;
    mutex(const mutex&) = delete;
    mutex& operator=(const mutex&) = delete;

    void lock() noexcept KQ_ACQUIRE() {
        if (!try_lock())
            LockContended();
    }

    bool try_lock() noexcept KQ_TRY_ACQUIRE(true) {
        std::uint32_t expected = free;
        return word_.compare_exchange_strong(expected, held, std::memory_order_acquire,
                                             std::memory_order_relaxed);
    }

    void unlock() noexcept KQ_RELEASE() {
        if (word_.exchange(free, std::memory_order_release) == contended)
            platform::WakeOne(word_);
    }

private:
    static constexpr std::uint32_t free = 0;
    static constexpr std::uint32_t held = 1;
    static constexpr std::uint32_t contended = 2; // held, and somebody may be asleep

    void LockContended() noexcept KQ_ACQUIRE();

    std::atomic<std::uint32_t> word_{free};
};

} // namespace kq::thread
