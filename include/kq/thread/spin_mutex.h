// A lock of one word.
#pragma once

#include <kq/export.h>
#include <kq/thread/annotations.h>

#include <atomic>
#include <cstdint>

namespace kq {
namespace thread {

/// A mutual exclusion lock that is one 32-bit word: 0 is free, 1 is held. Meant for sections of a
/// few instructions; a waiting thread gives up its time slice (`SwitchToThread`) between tries, it
/// neither sleeps nor backs off.
///
/// Meets the standard Lockable requirements, so `std::lock_guard`, `std::unique_lock` and
/// `std::condition_variable_any` work with it. Not recursive, and without an owner: any thread may
/// unlock it. Constant-initialised and trivially destructible, so it may guard objects with static
/// storage. No operation throws.
class KQ_CAPABILITY spin_mutex {
public:
    constexpr spin_mutex() noexcept = default;
    spin_mutex(const spin_mutex&) = delete;
    spin_mutex& operator=(const spin_mutex&) = delete;

    /// Waits until the lock is free and takes it.
    KQ_API void lock() noexcept KQ_ACQUIRE();
    /// Takes the lock if it is free; returns whether it did. Never waits.
    KQ_API bool try_lock() noexcept KQ_TRY_ACQUIRE(true);
    /// Frees the lock.
    KQ_API void unlock() noexcept KQ_RELEASE();

private:
    std::atomic<std::uint32_t> word_{0};
};

} // namespace thread
} // namespace kq
