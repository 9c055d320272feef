#include "converter/hex_vectors.h"

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#endif
#include <tmmintrin.h>

#include <atomic>

// No wider vectors: GCC for Windows keeps the stack aligned for no more than these, and faults when
// it spills one of 32 bytes.
#if defined(__GNUC__)
#define KQ_SSSE3 [[gnu::target("ssse3")]]
#else
#define KQ_SSSE3
#endif

namespace kq::converter {

namespace {

using Vector = __m128i;
constexpr std::size_t vectorSize = sizeof(Vector);
static_assert(vectorSize == hexVectorSize);
constexpr std::size_t charactersSize = 4 * vectorSize; // of the text of one vector

Vector Load(const unsigned char* from) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const Vector*>(from));
}

void Store(unsigned char* to, Vector vector) noexcept {
    _mm_storeu_si128(reinterpret_cast<Vector*>(to), vector);
}

Vector All(int byte) noexcept { return _mm_set1_epi8(static_cast<char>(byte)); }

/// The digits of sixteen bytes.
KQ_SSSE3 void Encode(unsigned char* target, Vector bytes) noexcept {
    const Vector digits = _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a', 'b',
                                        'c', 'd', 'e', 'f');
    const Vector nibble = All(15);
    const Vector zero = _mm_setzero_si128();
    const Vector high = _mm_shuffle_epi8(digits, _mm_and_si128(_mm_srli_epi16(bytes, 4), nibble));
    const Vector low = _mm_shuffle_epi8(digits, _mm_and_si128(bytes, nibble));
    const Vector first = _mm_unpacklo_epi8(high, low);
    const Vector second = _mm_unpackhi_epi8(high, low);
    Store(target, _mm_unpacklo_epi8(first, zero));
    Store(target + vectorSize, _mm_unpackhi_epi8(first, zero));
    Store(target + 2 * vectorSize, _mm_unpacklo_epi8(second, zero));
    Store(target + 3 * vectorSize, _mm_unpackhi_epi8(second, zero));
}

/// Eight bytes, each in sixteen bits, from the sixteen characters at `source`.
KQ_SSSE3 Vector DecodeHalf(const unsigned char* source) noexcept {
    // Saturated to a byte, characters beyond 255 become 0 or 255, which are no digits either.
    const Vector characters = _mm_packus_epi16(Load(source), Load(source + vectorSize));
    // 0..15 for a digit, more for anything else. The sum takes '0'..'9' to the end of the range,
    // the difference takes what was below them out of their reach.
    const Vector number =
        _mm_sub_epi8(_mm_subs_epu8(_mm_add_epi8(characters, All(0xff - '9')), All(6)), All(0xf0));
    const Vector letter =
        _mm_adds_epu8(_mm_sub_epi8(_mm_and_si128(characters, All(0xdf)), All('A')), All(10));
    const Vector value = _mm_min_epu8(number, letter);
    // A shuffle takes what has its highest bit set to 0: with this added, what is above 15.
    const Vector same = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const Vector nibbles = _mm_shuffle_epi8(same, _mm_adds_epu8(value, All(0x70)));
    constexpr short sixteenAndOne = 0x0110;
    return _mm_maddubs_epi16(nibbles, _mm_set1_epi16(sixteenAndOne));
}

/// Sixteen bytes from the characters at `source`.
KQ_SSSE3 void Decode(unsigned char* target, const unsigned char* source) noexcept {
    Store(target, _mm_packus_epi16(DecodeHalf(source), DecodeHalf(source + charactersSize / 2)));
}

bool AskForSsse3() noexcept {
    constexpr unsigned ssse3 = 1U << 9;
#if defined(_MSC_VER)
    int registers[4] = {};
    __cpuid(registers, 1);
    return (static_cast<unsigned>(registers[2]) & ssse3) != 0;
#else
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & ssse3) != 0;
#endif
}

} // namespace

bool HasHexVectors() noexcept {
    if constexpr (sizeof(wchar_t) != 2)
        return false;
    // Whoever comes first asks, which takes long inside a virtual machine; that two may is fine.
    enum : int { unknown, no, yes };
    static std::atomic<int> answer{unknown};
    int known = answer.load(std::memory_order_relaxed);
    if (known == unknown) {
        known = AskForSsse3() ? yes : no;
        answer.store(known, std::memory_order_relaxed);
    }
    return known == yes;
}

// Both end with the last vector of the buffer, wherever the one before it ended.

KQ_SSSE3 void EncodeHexByVectors(unsigned char* target, const unsigned char* source,
                                 std::size_t length) noexcept {
    const std::size_t last = length - vectorSize;
    for (std::size_t i = 0; i < last; i += vectorSize)
        Encode(target + 4 * i, Load(source + i));
    Encode(target + 4 * last, Load(source + last));
}

KQ_SSSE3 void DecodeHexByVectors(unsigned char* target, const unsigned char* source,
                                 std::size_t length) noexcept {
    const std::size_t last = length - vectorSize;
    for (std::size_t i = 0; i < last; i += vectorSize)
        Decode(target + i, source + 4 * i);
    Decode(target + last, source + 4 * last);
}

} // namespace kq::converter
