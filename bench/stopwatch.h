// Time that passes.
#pragma once

#include <chrono>
#include <cstddef>

namespace bench {

/// Runs from its construction.
class Stopwatch {
public:
    double Nanoseconds() const {
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start_)
            .count();
    }
    double NanosecondsPer(std::size_t operations) const {
        return Nanoseconds() / static_cast<double>(operations);
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace bench
