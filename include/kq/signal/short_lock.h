// The lock inside the signalers.
#pragma once

#include <kq/thread/annotations.h>

#include <atomic>
#include <thread>

namespace kq {
namespace signal {
namespace detail {

/// A lock for sections of a few instructions. Where `thread::spin_mutex` is two calls into the
/// library and two atomic exchanges, this one is inline, and frees itself by a plain store: every
/// step of an emission takes it once, and that is most of what an emission costs.
class KQ_CAPABILITY ShortLock {
public:
    constexpr ShortLock() noexcept = default;
    ShortLock(const ShortLock&) = delete;
    ShortLock& operator=(const ShortLock&) = delete;

    void lock() noexcept KQ_ACQUIRE() {
        while (isHeld_.exchange(true, std::memory_order_acquire))
            std::this_thread::yield();
    }

    void unlock() noexcept KQ_RELEASE() { isHeld_.store(false, std::memory_order_release); }

private:
    std::atomic<bool> isHeld_{false};
};

} // namespace detail
} // namespace signal
} // namespace kq
