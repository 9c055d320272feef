// Hexadecimal text sixteen bytes at a time.
#pragma once

#include <cstddef>

namespace kq::converter {

/// The least number of bytes that the functions below take.
inline constexpr std::size_t hexVectorSize = 16;

/// Whether the functions below can be called: whether this processor has their instructions, SSSE3,
/// which all but some of the first with 64 bits have, and wide characters have 16 bits. Asks it
/// once; callable from any thread.
bool HasHexVectors() noexcept;

/// `EncodeHexByLoop` and `DecodeHexByLoop` for at least `hexVectorSize` bytes. They touch nothing
/// outside of the buffers, and may write a byte of the target twice.
void EncodeHexByVectors(unsigned char* target, const unsigned char* source,
                        std::size_t length) noexcept;
void DecodeHexByVectors(unsigned char* target, const unsigned char* source,
                        std::size_t length) noexcept;

} // namespace kq::converter
