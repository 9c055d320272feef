// What has been done.
#pragma once

#include <atomic>
#include <cstdint>

namespace find_duplicates {

/// Counted by jobs on any threads, and shown by another one meanwhile.
struct Tally {
    std::atomic<std::uint64_t> files{0};
    std::atomic<std::uint64_t> bytes{0};
};

} // namespace find_duplicates
