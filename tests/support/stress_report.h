// What a stress test has done.
#pragma once

#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace kq_test {

/// Prints the line that `./dev soak` adds up.
inline void ReportStress(std::uint64_t rounds, std::uint64_t jobs) {
    std::printf("stress: %" PRIu64 " rounds, %" PRIu64 " jobs\n", rounds, jobs);
}

} // namespace kq_test
