// How many run at once.
#pragma once

#include <atomic>
#include <cstddef>

namespace kq_test {

/// Counts who is inside at the moment, and remembers the most that ever were.
class Load {
public:
    void Enter() {
        const std::size_t now = ++inside_;
        std::size_t most = most_.load();
        while (now > most && !most_.compare_exchange_weak(most, now)) {
        }
    }
    void Leave() { --inside_; }

    std::size_t Inside() const { return inside_; }
    std::size_t Most() const { return most_; }

private:
    std::atomic<std::size_t> inside_{0};
    std::atomic<std::size_t> most_{0};
};

} // namespace kq_test
