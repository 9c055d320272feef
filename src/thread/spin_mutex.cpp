#include <kq/thread/spin_mutex.h>

#include "thread/platform.h"

namespace kq::thread {

void spin_mutex::lock() noexcept {
    while (!try_lock())
        platform::YieldSlice();
}

bool spin_mutex::try_lock() noexcept {
    std::uint32_t free = 0;
    return word_.compare_exchange_strong(free, 1, std::memory_order_acquire,
                                         std::memory_order_relaxed);
}

void spin_mutex::unlock() noexcept { word_.exchange(0, std::memory_order_release); }

} // namespace kq::thread
