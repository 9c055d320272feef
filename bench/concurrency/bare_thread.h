// The least that handing work to a sleeping thread can cost.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace bench {

/// A thread that sleeps until it is asked, and answers, by two words alone: what any pool pays at
/// least for waking a thread and being woken by it.
class BareThread {
public:
    BareThread() : thread_([this] { Run(); }) {}
    ~BareThread() {
        Send(asked_, ending);
        thread_.join();
    }
    BareThread(const BareThread&) = delete;
    BareThread& operator=(const BareThread&) = delete;

    void Ask() noexcept {
        const std::uint32_t question = asked_.load(std::memory_order_relaxed) + 1;
        Send(asked_, question);
        while (answered_.load(std::memory_order_acquire) != question)
            AwaitChange(answered_, question - 1);
    }

private:
    static constexpr std::uint32_t ending = UINT32_MAX;

    static void Send(std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept {
        word.store(value, std::memory_order_release);
        WakeByAddressSingle(&word);
    }
    static void AwaitChange(std::atomic<std::uint32_t>& word, std::uint32_t seen) noexcept {
        WaitOnAddress(&word, &seen, sizeof(seen), INFINITE);
    }

    void Run() noexcept {
        for (std::uint32_t seen = 0;;) {
            const std::uint32_t question = asked_.load(std::memory_order_acquire);
            if (question == ending)
                return;
            if (question == seen) {
                AwaitChange(asked_, seen);
                continue;
            }
            seen = question;
            Send(answered_, seen);
        }
    }

    std::atomic<std::uint32_t> asked_{0};
    std::atomic<std::uint32_t> answered_{0};
    std::thread thread_; // last: it uses the others
};

} // namespace bench
