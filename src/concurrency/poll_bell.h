// The bell that cuts the pauses of polling short.
#pragma once

#include "thread/platform.h"

#include <atomic>
#include <cstdint>

namespace kq::concurrency {

/// One bell for the process: a dispatcher that polls opaque conditions and pauses between its
/// passes listens to it; a job that ends, is queued or is withdrawn rings it. Costs one load while
/// nobody listens.
class PollBell {
public:
    /// Ends the pause of every listener.
    static void Ring() noexcept {
        if (listeners_.load() == 0)
            return;
        rings_.fetch_add(1);
        thread::platform::WakeAll(rings_);
    }

    /// A dispatcher's presence at the bell. What rings after construction, or after the last
    /// `Pause`, is not missed.
    class Listener {
    public:
        Listener() noexcept {
            listeners_.fetch_add(1);
            heard_ = rings_.load();
        }
        ~Listener() { listeners_.fetch_sub(1); }
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

        /// Sleeps until the bell rings, for at most `milliseconds`; not at all when it has rung
        /// since the last time.
        void Pause(std::uint32_t milliseconds) noexcept {
            thread::platform::WaitOnWord(rings_, heard_, milliseconds);
            heard_ = rings_.load();
        }

    private:
        std::uint32_t heard_;
    };

private:
    static inline std::atomic<std::uint32_t> listeners_{0};
    static inline std::atomic<std::uint32_t> rings_{0};
};

} // namespace kq::concurrency
