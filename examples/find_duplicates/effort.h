// How long it takes to go through files.
#pragma once

#include <cstdint>

namespace find_duplicates {

/// Opening a file takes about as long as reading so many bytes more.
constexpr double costOfOpening = 32 * 1024;

/// What it takes to read so many bytes of so many files, in bytes.
inline double Effort(std::uint64_t files, std::uint64_t bytes) {
    return static_cast<double>(bytes) + static_cast<double>(files) * costOfOpening;
}

} // namespace find_duplicates
