// Overwriting what must not stay in memory.
#pragma once

#include <windows.h>

#include <cstddef>

namespace kq::crypt {

/// Overwrites `size` bytes with zeros. Unlike `std::memset` in front of a release, which has no
/// effect that a program could see, this is never dropped by the compiler.
inline void Wipe(void* memory, std::size_t size) noexcept { SecureZeroMemory(memory, size); }

} // namespace kq::crypt
