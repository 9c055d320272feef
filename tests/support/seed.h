// Randomised schedules that can be repeated.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace kq_test {

/// A new seed, or the one in the environment variable KQ_SEED; printed, so that a failed run can be
/// repeated.
inline std::uint32_t Seed() {
    const char* const wanted = std::getenv("KQ_SEED");
    const std::uint32_t seed = wanted != nullptr
                                   ? static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10))
                                   : std::random_device()();
    std::printf("seed %u (repeat with KQ_SEED=%u)\n", seed, seed);
    std::fflush(stdout);
    return seed;
}

/// The random source of one thread of a test.
class Random {
public:
    Random(std::uint32_t seed, std::uint32_t stream) : engine_(MakeEngine(seed, stream)) {}

    /// A number below `bound`.
    std::uint32_t Below(std::uint32_t bound) {
        return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(engine_);
    }

    /// True in one of `bound` cases.
    bool OneIn(std::uint32_t bound) { return Below(bound) == 0; }

private:
    static std::mt19937 MakeEngine(std::uint32_t seed, std::uint32_t stream) {
        std::seed_seq sequence{seed, stream};
        return std::mt19937(sequence);
    }

    std::mt19937 engine_;
};

} // namespace kq_test
