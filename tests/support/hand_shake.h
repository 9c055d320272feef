// Hand-shakes between the threads of a test.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

namespace kq_test {

/// Far beyond what any step of a test takes, so that only a hang reaches it.
inline constexpr std::chrono::seconds handShakeLimit(30);

/// Ends the program: a test that has stopped moving cannot be cleaned up, because its threads still
/// use what it owns.
[[noreturn]] inline void FailHandShake(const char* what) {
    std::fprintf(stderr, "kq tests: nothing happened for %d s: %s\n",
                 static_cast<int>(handShakeLimit.count()), what);
    std::fflush(stderr);
    std::terminate();
}

/// A number that threads raise and other threads wait for. It may be destroyed as soon as a wait
/// has returned, although the thread that raised it may not have left the lock yet.
class Counter {
public:
    void Add(std::size_t count = 1) {
        const std::shared_ptr<State> state = state_;
        const std::lock_guard guard(state->mutex);
        state->value += count;
        state->changed.notify_all();
    }

    std::size_t Value() const {
        const std::lock_guard guard(state_->mutex);
        return state_->value;
    }

    /// Waits until the number is at least `value`.
    void WaitFor(std::size_t value, const char* what = "a counter") const {
        std::unique_lock lock(state_->mutex);
        if (!state_->changed.wait_for(lock, handShakeLimit, [&] { return state_->value >= value; }))
            FailHandShake(what);
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        std::size_t value = 0;
    };

    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Something that happens once.
class Event {
public:
    void Set() { counter_.Add(); }
    bool IsSet() const { return counter_.Value() != 0; }
    void Wait(const char* what = "an event") const { counter_.WaitFor(1, what); }

private:
    Counter counter_;
};

/// Runs `step` on a thread of its own and ends the program when it does not return in time.
template <class Step>
void ReturnsInTime(const char* what, Step step) {
    Event returned;
    std::thread runner([&] {
        step();
        returned.Set();
    });
    returned.Wait(what);
    runner.join();
}

} // namespace kq_test
