#include "thread/clock.h"

#include "thread/deadline.h"

namespace kq::thread {

namespace {

class PlatformClock final : public Clock {
public:
    TimePoint Now() const noexcept override { return std::chrono::steady_clock::now(); }

    void WaitUntil(condition_variable& variable, mutex& held, TimePoint deadline) noexcept override
        KQ_REQUIRES(held) {
        variable.wait_until(held, Deadline(deadline));
    }
};

PlatformClock clock;

} // namespace

Clock& SteadyClock() noexcept { return clock; }

} // namespace kq::thread
