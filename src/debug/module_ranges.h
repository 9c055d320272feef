// Where the images of modules lie.
#pragma once

#include <cstdint>
#include <iterator>
#include <map>

namespace kq::debug {

/// Address ranges that do not overlap, from the base of a module to its end.
using ModuleRanges = std::map<std::uint64_t, std::uint64_t>;

/// The base of the module whose range holds all of the `size` bytes at `address`; 0 when there is
/// none.
inline std::uint64_t BaseOf(const ModuleRanges& modules, std::uint64_t address,
                            std::uint64_t size = 1) noexcept {
    const auto above = modules.upper_bound(address);
    if (above == modules.begin())
        return 0;
    const auto& [base, end] = *std::prev(above);
    return address < end && size <= end - address ? base : 0;
}

} // namespace kq::debug
