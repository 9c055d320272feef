// What tests leave behind: nothing.
#pragma once

#include <cstddef>

namespace kq_test {

/// What a process has of things that leak.
struct Belongings {
    std::size_t handles;
    std::size_t blocks;    ///< in use, in all heaps
    std::size_t kilobytes; ///< of private memory that the system has given

    static Belongings Now();

    /// Whether there is more than `before` of anything; of memory, more than comes and goes with
    /// threads and with the spare room of heaps.
    bool HaveGrownSince(const Belongings& before) const noexcept;
};

/// Runs tests that have all passed once more, as many of the quick ones as fit into two seconds,
/// and looks whether anything has come to stay. The first run has made what is made only once, so
/// now there is growth only by leaks; whatever grows in each of several repetitions is one.
/// Returns whether the repetitions passed and left nothing. The environment variable
/// KQ_LEAK_PASSES says how many there are, at most 16; with 0 nothing is looked at.
bool LeaveNothingBehind();

} // namespace kq_test
