#include <kq/converter/md5.h>

#include <kq/converter/hex.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace {

using Word = std::uint32_t;

constexpr unsigned blockSize = 64;

// RFC 1321, 3.4: floor(2^32 * abs(sin(i + 1))).
constexpr Word sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr int shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// The order in which each round takes the words of the block: start + step * i (mod 16).
constexpr unsigned wordStart[4] = {0, 1, 5, 0};
constexpr unsigned wordStep[4] = {1, 5, 3, 7};

// The words are little-endian, as the machine is; blocks may stand at any address.
Word Load(const unsigned char* from) noexcept {
    Word word = 0;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

constexpr Word RotateLeft(Word word, int bits) noexcept {
    return word << bits | word >> (32 - bits);
}

// The same word, of which the optimiser has to forget how it came about. A step waits for the b of
// the step before and can add up everything else meanwhile; clang, left alone, reorders the sum
// such that constants come last, and loses a fifth of the speed.
inline Word AddedUp(Word sum) noexcept {
#if defined(__GNUC__)
    asm("" : "+r"(sum));
#endif
    return sum;
}

// `sum` plus the round's function of b, c and d, with b in as few operations as possible.
template <unsigned round>
Word AddMixed(Word sum, Word b, Word c, Word d) noexcept {
    if constexpr (round == 0)
        return sum + (d ^ (b & (c ^ d)));
    else if constexpr (round == 1)
        return AddedUp(sum + (c & ~d)) + (b & d); // no bit in common: + is |
    else if constexpr (round == 2)
        return sum + ((c ^ d) ^ b);
    else
        return sum + (c ^ (b | ~d));
}

struct Digest {
    Word words[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
};

template <std::size_t i>
void Step(Digest& digest, const unsigned char* block) noexcept {
    constexpr auto round = static_cast<unsigned>(i / 16);
    constexpr auto word = (wordStart[round] + wordStep[round] * (i % 16)) % 16;
    Word& a = digest.words[(64 - i) % 4];
    const Word b = digest.words[(65 - i) % 4];
    const Word c = digest.words[(66 - i) % 4];
    const Word d = digest.words[(67 - i) % 4];
    const Word sum = AddedUp(a + Load(block + 4 * word) + sines[i]);
    a = b + RotateLeft(AddMixed<round>(sum, b, c, d), shifts[round][i % 4]);
}

template <std::size_t... i>
void Steps(Digest& digest, const unsigned char* block, std::index_sequence<i...>) noexcept {
    (Step<i>(digest, block), ...);
}

void AddBlocks(Digest& digest, const unsigned char* block, const unsigned char* end) noexcept {
    Digest sum = digest; // a local, so that the four words stay in registers
    for (; block != end; block += blockSize) {
        const Digest before = sum;
        Steps(sum, block, std::make_index_sequence<64>());
        for (int i = 0; i != 4; ++i)
            sum.words[i] += before.words[i];
    }
    digest = sum;
}

// What is left after the whole blocks, a one bit, zeros up to the end of a block, and the number of
// bits in its last eight bytes.
void AddTail(Digest& digest, const unsigned char* rest, unsigned length) noexcept {
    const unsigned restLength = length % blockSize;
    const std::uint64_t bits = std::uint64_t{length} * 8;
    unsigned char tail[2 * blockSize] = {};
    const unsigned tailLength =
        restLength + 1 + sizeof(bits) <= blockSize ? blockSize : 2 * blockSize;
    if (restLength != 0)
        std::memcpy(tail, rest, restLength);
    tail[restLength] = 0x80;
    std::memcpy(tail + tailLength - sizeof(bits), &bits, sizeof(bits));
    AddBlocks(digest, tail, tail + tailLength);
}

} // namespace

void HashMD5(MD5HASH& digest, void const* data, unsigned int length) noexcept {
    const auto* const begin = static_cast<const unsigned char*>(data);
    const auto* const rest = begin + (length - length % blockSize);
    Digest result;
    AddBlocks(result, begin, rest);
    AddTail(result, rest, length);
    static_assert(sizeof(digest.bytes) == sizeof(result.words));
    std::memcpy(digest.bytes, result.words, sizeof(digest.bytes));
}

void HashMD5ToString(wchar_t* const out, void const* data, unsigned int length) noexcept {
    MD5HASH digest{};
    HashMD5(digest, data, length);
    *Mem2Hex(out, digest.bytes, sizeof(digest.bytes)) = L'\0';
}
