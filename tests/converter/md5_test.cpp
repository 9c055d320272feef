#include <windows.h>

#include <kq/converter/hex.h>
#include <kq/converter/md5.h>

#include <gtest/gtest.h>

#include <bcrypt.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::wstring TextOf(const MD5HASH& digest) {
    std::wstring text(2 * sizeof(digest.bytes), L'\0');
    Mem2Hex(text.data(), digest.bytes, sizeof(digest.bytes));
    return text;
}

std::wstring DigestOf(const void* data, std::size_t length) {
    MD5HASH digest{};
    HashMD5(digest, data, static_cast<unsigned>(length));
    return TextOf(digest);
}

std::wstring DigestOf(const std::string& text) { return DigestOf(text.data(), text.size()); }

// The platform's own MD5.
class Reference {
public:
    Reference() {
        if (BCryptOpenAlgorithmProvider(&algorithm_, BCRYPT_MD5_ALGORITHM, nullptr, 0) != 0)
            throw std::runtime_error("the platform has no MD5");
    }
    ~Reference() { BCryptCloseAlgorithmProvider(algorithm_, 0); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    std::wstring DigestOf(const void* data, std::size_t length) const {
        MD5HASH digest{};
        if (BCryptHash(algorithm_, nullptr, 0, static_cast<unsigned char*>(const_cast<void*>(data)),
                       static_cast<ULONG>(length), digest.bytes, sizeof(digest.bytes)) != 0)
            throw std::runtime_error("the platform's MD5 failed");
        return TextOf(digest);
    }

private:
    BCRYPT_ALG_HANDLE algorithm_ = nullptr;
};

std::vector<unsigned char> SomeBytes(std::size_t length) {
    std::vector<unsigned char> bytes(length);
    unsigned state = 1;
    for (unsigned char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return bytes;
}

// RFC 1321, appendix A.5.
TEST(HashMD5, PassesThePublishedTestSuite) {
    EXPECT_EQ(DigestOf(""), L"d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(DigestOf("a"), L"0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(DigestOf("abc"), L"900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(DigestOf("message digest"), L"f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(DigestOf("abcdefghijklmnopqrstuvwxyz"), L"c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(DigestOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              L"d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(DigestOf("12345678901234567890123456789012345678901234567890123456789012345678901234"
                       "567890"),
              L"57edf4a22be3c955ac49da2e2107b67a");
}

TEST(HashMD5, OfNothingDoesNotTouchTheData) {
    EXPECT_EQ(DigestOf(nullptr, 0), L"d41d8cd98f00b204e9800998ecf8427e");
}

TEST(HashMD5, AgreesWithThePlatformAtEveryLength) {
    const Reference reference;
    const auto bytes = SomeBytes(200);
    for (std::size_t length = 0; length <= bytes.size(); ++length)
        EXPECT_EQ(DigestOf(bytes.data(), length), reference.DigestOf(bytes.data(), length))
            << length;
}

TEST(HashMD5, TakesDataAtAnyAddress) {
    const Reference reference;
    const auto bytes = SomeBytes(300);
    for (std::size_t offset = 0; offset != 64; ++offset)
        EXPECT_EQ(DigestOf(bytes.data() + offset, 200),
                  reference.DigestOf(bytes.data() + offset, 200))
            << offset;
}

TEST(HashMD5, AgreesWithThePlatformOnMegabytes) {
    const Reference reference;
    const auto bytes = SomeBytes((std::size_t{5} << 20) + 57);
    EXPECT_EQ(DigestOf(bytes.data(), bytes.size()), reference.DigestOf(bytes.data(), bytes.size()));
}

// The number of bits then needs 35 bits, and the number of blocks times 64 no longer fits in 32.
TEST(HashMD5, TakesTheGreatestLength) {
    constexpr std::size_t length = 0xFFFF'FFFF;
    const std::unique_ptr<void, void (*)(void*)> zeros(
        VirtualAlloc(nullptr, length, MEM_RESERVE | MEM_COMMIT, PAGE_READONLY),
        [](void* memory) { VirtualFree(memory, 0, MEM_RELEASE); });
    ASSERT_NE(zeros, nullptr);
    EXPECT_EQ(DigestOf(zeros.get(), length), L"c654ebc4b3472cfa01ade24bbbbc6d3e");
}

TEST(HashMD5ToString, WritesThirtyTwoDigitsAndAZero) {
    wchar_t text[34];
    std::fill(std::begin(text), std::end(text), L'#');
    HashMD5ToString(text, nullptr, 0);
    EXPECT_EQ(std::wstring(text, 34), std::wstring(L"d41d8cd98f00b204e9800998ecf8427e\0#", 34));
}

TEST(HashMD5ToString, WritesTheDigestOfHashMD5) {
    const auto bytes = SomeBytes(200);
    for (unsigned length = 0; length <= bytes.size(); ++length) {
        wchar_t text[33];
        HashMD5ToString(text, bytes.data(), length);
        EXPECT_EQ(text, DigestOf(bytes.data(), length)) << length;
    }
}

} // namespace
