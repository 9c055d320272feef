#include "thread/mutex.h"

namespace kq::thread {

void mutex::LockContended() noexcept {
    // The sections it guards take well under a microsecond: most holders are gone before a sleep
    // would have begun.
    constexpr int spins = 64;
    for (int spin = 0; spin != spins; ++spin) {
        if (word_.load(std::memory_order_relaxed) == free && try_lock())
            return;
        platform::SpinPause();
    }
    // Whoever has slept takes the lock as contended, because others may still sleep.
    while (word_.exchange(contended, std::memory_order_acquire) != free)
        platform::WaitOnWord(word_, contended, platform::infinite);
}

} // namespace kq::thread
