// Hexadecimal text one byte after the other: the way of any processor, and for what is too short
// for vectors.
//
// Digits are computed, not looked up: without a table and without a branch, compilers turn both
// loops into vector code of their own. Characters are moved by memcpy, because older callers pass
// buffers at odd addresses. Two of them fill a word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kq::converter {

using HexCharacter = std::make_unsigned_t<wchar_t>;
using HexPair = std::conditional_t<sizeof(HexCharacter) == 2, std::uint32_t, std::uint64_t>;
static_assert(sizeof(HexPair) == 2 * sizeof(HexCharacter));

constexpr HexCharacter DigitOf(unsigned nibble) noexcept {
    return static_cast<HexCharacter>('0' + nibble + (nibble > 9 ? 'a' - '9' - 1 : 0));
}

constexpr HexCharacter ValueOf(HexCharacter digit) noexcept {
    const auto number = static_cast<HexCharacter>(digit - '0');
    // Setting this bit maps upper case to lower case, and nothing else into a..f.
    const auto letter = static_cast<HexCharacter>((digit | 0x20) - 'a');
    return static_cast<HexCharacter>((number < 10 ? number : 0) + (letter < 6 ? letter + 10 : 0));
}

inline HexCharacter LoadCharacter(const unsigned char* from) noexcept {
    HexCharacter character = 0;
    std::memcpy(&character, from, sizeof(character));
    return character;
}

/// Writes the two digits of each of the `length` bytes at `source`.
inline void EncodeHexByLoop(unsigned char* target, const unsigned char* source,
                            std::size_t length) noexcept {
    for (std::size_t i = 0; i != length; ++i) {
        const unsigned byte = source[i];
        const HexPair pair = DigitOf(byte >> 4) | static_cast<HexPair>(DigitOf(byte & 15))
                                                      << 8 * sizeof(HexCharacter);
        std::memcpy(target + i * sizeof(pair), &pair, sizeof(pair));
    }
}

/// Writes `length` bytes, each from the next two characters at `source`.
inline void DecodeHexByLoop(unsigned char* target, const unsigned char* source,
                            std::size_t length) noexcept {
    for (std::size_t i = 0; i != length; ++i) {
        const unsigned char* const pair = source + 2 * sizeof(HexCharacter) * i;
        target[i] = static_cast<unsigned char>(ValueOf(LoadCharacter(pair)) << 4 |
                                               ValueOf(LoadCharacter(pair + sizeof(HexCharacter))));
    }
}

} // namespace kq::converter
