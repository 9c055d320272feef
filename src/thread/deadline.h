// How long somebody waits.
#pragma once

#include "thread/platform.h"

#include <chrono>
#include <cstdint>

namespace kq::thread {

/// `now` plus a duration of any size: negative ones count as 0, those beyond the range of the clock
/// never pass.
template <class Rep, class Period>
std::chrono::steady_clock::time_point SaturatedSum(
    std::chrono::steady_clock::time_point now,
    std::chrono::duration<Rep, Period> duration) noexcept {
    using Seconds = std::chrono::duration<double>;
    // A century is beyond every wait and far from the limits of the clock's arithmetic.
    constexpr std::chrono::hours longest(24 * 365 * 100);
    if (duration <= duration.zero())
        return now;
    if (std::chrono::duration_cast<Seconds>(duration) > Seconds(longest))
        return now + longest;
    return now + std::chrono::ceil<std::chrono::steady_clock::duration>(duration);
}

/// A point of the steady clock up to which somebody waits.
class Deadline {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    explicit Deadline(TimePoint time) noexcept : time_(time) {}

    /// Now plus a duration of any size.
    template <class Rep, class Period>
    explicit Deadline(std::chrono::duration<Rep, Period> duration) noexcept
        : time_(SaturatedSum(std::chrono::steady_clock::now(), duration)) {}

    bool HasPassed() const noexcept { return std::chrono::steady_clock::now() >= time_; }

    /// Whole milliseconds until the deadline, rounded up, for the platform's waits; capped below
    /// their "infinite", so a waiter loops until `HasPassed()`.
    std::uint32_t RemainingMilliseconds() const noexcept {
        const auto remaining =
            std::chrono::ceil<std::chrono::milliseconds>(time_ - std::chrono::steady_clock::now())
                .count();
        if (remaining <= 0)
            return 0;
        constexpr std::int64_t longest = platform::infinite - 1;
        return static_cast<std::uint32_t>(remaining < longest ? remaining : longest);
    }

private:
    TimePoint time_;
};

} // namespace kq::thread
