// How the threads of a scenario meet.
#pragma once

#include "process/scenario.h"

#include <windows.h>

#include <atomic>
#include <memory>

/// Something that happens once. A value: copies are the same flag, so that a job can own one and
/// the end of main never takes it away from a running thread. Nothing of it can hang at exit.
class Flag {
public:
    Flag() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr), CloseHandle) {
        CHECK(event_ != nullptr);
    }

    void Set() const { SetEvent(event_.get()); }
    bool IsSet() const { return WaitForSingleObject(event_.get(), 0) == WAIT_OBJECT_0; }

    /// Waits until it is set; the process fails when that takes longer than any machine is slow.
    void Wait() const {
        constexpr DWORD milliseconds = 45'000;
        CHECK(WaitForSingleObject(event_.get(), milliseconds) == WAIT_OBJECT_0);
    }

private:
    std::shared_ptr<void> event_;
};

/// Something that is complete when it has happened a number of times. A value like `Flag`.
class Countdown {
public:
    explicit Countdown(std::size_t count)
        : left_(std::make_shared<std::atomic<std::size_t>>(count)) {}

    void Arrive() const {
        if (left_->fetch_sub(1) == 1)
            complete_.Set();
    }
    void Wait() const { complete_.Wait(); }

private:
    std::shared_ptr<std::atomic<std::size_t>> left_;
    Flag complete_;
};
