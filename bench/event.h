// What threads of a benchmark wait for.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>

namespace bench {

/// Happens once, or again after `Reset`. The platform's own event, so that no contestant's means of
/// waiting is measured with another's.
class Event {
public:
    Event() : handle_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(handle_); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set() noexcept { SetEvent(handle_); }
    void Reset() noexcept { ResetEvent(handle_); }
    void Wait() const noexcept { WaitForSingleObject(handle_, INFINITE); }

private:
    HANDLE handle_;
};

/// Tells when a number of things have happened. For the executors that give no handle on a job.
class Countdown {
public:
    /// Nobody may count or wait meanwhile.
    void Begin(std::size_t count) noexcept {
        count_.store(count, std::memory_order_relaxed);
        zero_.Reset();
    }
    void CountOne() noexcept {
        if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            zero_.Set();
    }
    void Wait() const noexcept { zero_.Wait(); }

private:
    std::atomic<std::size_t> count_{0};
    Event zero_;
};

} // namespace bench
