#include <kq/converter/hex.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

// Digits are computed, not looked up: without a table and without a branch, compilers turn both
// loops into vector code. Wide characters are moved by memcpy, because older callers pass buffers
// at odd addresses. Two of them fill a word.

namespace {

using Character = std::make_unsigned_t<wchar_t>;
using Pair = std::conditional_t<sizeof(Character) == 2, std::uint32_t, std::uint64_t>;
static_assert(sizeof(Pair) == 2 * sizeof(Character));
constexpr unsigned characterBits = 8 * sizeof(Character);

constexpr Character DigitOf(unsigned nibble) noexcept {
    return static_cast<Character>('0' + nibble + (nibble > 9 ? 'a' - '9' - 1 : 0));
}

constexpr Character ValueOf(Character digit) noexcept {
    const auto number = static_cast<Character>(digit - '0');
    // Setting this bit maps upper case to lower case, and nothing else into a..f.
    const auto letter = static_cast<Character>((digit | 0x20) - 'a');
    return static_cast<Character>((number < 10 ? number : 0) + (letter < 6 ? letter + 10 : 0));
}

Character Load(const unsigned char* from) noexcept {
    Character character = 0;
    std::memcpy(&character, from, sizeof(character));
    return character;
}

} // namespace

wchar_t* Mem2Hex(wchar_t* out, void const* data, unsigned long long length) noexcept {
    auto* const target = reinterpret_cast<unsigned char*>(out);
    const auto* const source = static_cast<const unsigned char*>(data);
    for (unsigned long long i = 0; i != length; ++i) {
        const unsigned byte = source[i];
        const Pair pair = DigitOf(byte >> 4) | static_cast<Pair>(DigitOf(byte & 15))
                                                   << characterBits;
        std::memcpy(target + i * sizeof(pair), &pair, sizeof(pair));
    }
    return out + 2 * length;
}

void* Hex2Mem(void* out, wchar_t const* text, unsigned long long count) noexcept {
    auto* const target = static_cast<unsigned char*>(out);
    const auto* const source = reinterpret_cast<const unsigned char*>(text);
    const unsigned long long length = count / 2;
    for (unsigned long long i = 0; i != length; ++i) {
        const unsigned char* const pair = source + 2 * sizeof(Character) * i;
        target[i] = static_cast<unsigned char>(ValueOf(Load(pair)) << 4 |
                                               ValueOf(Load(pair + sizeof(Character))));
    }
    return target + length;
}
