// A mutex that counts how often it is taken. Sources that find this header before the library's own
// are compiled with it; see job_costs_test.
#pragma once

#include <kq/thread/spin_mutex.h>

#include <atomic>
#include <cstddef>
#include <thread>

namespace kq_test {

/// How often the library has taken a lock, on all threads.
inline std::atomic<std::size_t> lockCount{0};

} // namespace kq_test

namespace kq::thread {

/// What the library needs of its mutex, and the counting.
class mutex {
public:
    constexpr mutex() noexcept = default;
    mutex(const mutex&) = delete;
    mutex& operator=(const mutex&) = delete;

    void lock() noexcept {
        while (!try_lock())
            std::this_thread::yield();
    }
    bool try_lock() noexcept {
        if (isHeld_.exchange(true, std::memory_order_acquire))
            return false;
        kq_test::lockCount.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    void unlock() noexcept { isHeld_.store(false, std::memory_order_release); }

private:
    std::atomic<bool> isHeld_{false};
};

} // namespace kq::thread
