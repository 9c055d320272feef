// Hexadecimal text sixteen bytes at a time.
#pragma once

#include <cstddef>

namespace kq::converter {

/// The least number of bytes that the functions below take.
inline constexpr std::size_t hexVectorSize = 16;

/// Whether this processor has the instructions of the functions below, SSSE3: all but some of the
/// first with 64 bits have. Asks it once; callable from any thread.
bool HasHexVectors() noexcept;

/// `EncodeHexByLoop` and `DecodeHexByLoop` for at least `hexVectorSize` bytes. They touch nothing
/// outside of the buffers, and may write a byte of the target twice.
void EncodeHexByVectors(unsigned char* target, const unsigned char* source,
                        std::size_t length) noexcept;
void DecodeHexByVectors(unsigned char* target, const unsigned char* source,
                        std::size_t length) noexcept;

} // namespace kq::converter
