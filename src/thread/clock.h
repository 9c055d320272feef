// Time, as the library's waiting code sees it.
#pragma once

#include "thread/condition_variable.h"
#include "thread/mutex.h"

#include <chrono>

namespace kq::thread {

/// A steady clock and the waiting that goes with it. The pool and the scheduler are given one, so
/// that a test can turn time by hand; the library itself uses `SteadyClock()`.
class Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual TimePoint Now() const noexcept = 0;

    /// Waits, with the mutex released, on `variable` until it is notified or `deadline` is reached.
    /// May end early; the caller looks at the clock again.
    virtual void WaitUntil(condition_variable& variable, mutex& held, TimePoint deadline) noexcept
        KQ_REQUIRES(held) = 0;

protected:
    ~Clock() = default;
};

/// The platform's monotonic clock.
Clock& SteadyClock() noexcept;

} // namespace kq::thread
