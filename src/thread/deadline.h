// A point of the steady clock up to which somebody waits.
#pragma once

#include "thread/platform.h"

#include <chrono>
#include <cstdint>

namespace kq::thread {

/// Now plus a duration of any size: negative ones have passed already, those beyond the range of
/// the clock never pass.
class Deadline {
public:
    template <class Rep, class Period>
    explicit Deadline(std::chrono::duration<Rep, Period> duration) noexcept
        : time_(Clock::now() + Clamped(duration)) {}

    bool HasPassed() const noexcept { return Clock::now() >= time_; }

    /// Whole milliseconds until the deadline, rounded up, for the platform's waits; capped below
    /// their "infinite", so a waiter loops until `HasPassed()`.
    std::uint32_t RemainingMilliseconds() const noexcept {
        const auto remaining =
            std::chrono::ceil<std::chrono::milliseconds>(time_ - Clock::now()).count();
        if (remaining <= 0)
            return 0;
        constexpr std::int64_t longest = platform::infinite - 1;
        return static_cast<std::uint32_t>(remaining < longest ? remaining : longest);
    }

private:
    using Clock = std::chrono::steady_clock;

    template <class Duration>
    static Clock::duration Clamped(Duration duration) noexcept {
        // A century is beyond every wait and far from the limits of the clock's arithmetic.
        constexpr std::chrono::hours longest(24 * 365 * 100);
        if (duration <= Duration::zero())
            return Clock::duration::zero();
        if (std::chrono::duration_cast<std::chrono::duration<double>>(duration) > longest)
            return longest;
        return std::chrono::ceil<Clock::duration>(duration);
    }

    Clock::time_point time_;
};

} // namespace kq::thread
