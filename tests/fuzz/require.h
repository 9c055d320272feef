// What a fuzz target holds its subject to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

/// The target: called with every input, in whatever order. Throws, or ends the program, when the
/// subject is wrong.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size); // NOLINT

namespace kq_fuzz {

inline void Require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

} // namespace kq_fuzz
