// MD5 against a second implementation.
#include <windows.h>

#include <kq/converter/hex.h>
#include <kq/converter/md5.h>

#include "fuzz/require.h"

#include <bcrypt.h>

#include <cstring>
#include <vector>

using kq_fuzz::Require;

namespace {

MD5HASH ReferenceOf(const unsigned char* data, std::size_t size) {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    Require(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0) == 0,
            "the platform has MD5");
    MD5HASH digest{};
    Require(BCryptHash(algorithm, nullptr, 0, const_cast<unsigned char*>(data),
                       static_cast<ULONG>(size), digest.bytes, sizeof(digest.bytes)) == 0,
            "the platform's MD5 works");
    BCryptCloseAlgorithmProvider(algorithm, 0);
    return digest;
}

} // namespace

// Repeated, so that short inputs reach every number of blocks.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const std::size_t repeats = data[0] % 8;
    std::vector<unsigned char> message(data + 1, data + size);
    for (std::size_t i = 0; i != repeats; ++i)
        message.insert(message.end(), data + 1, data + size);
    message.shrink_to_fit();

    const MD5HASH expected = ReferenceOf(message.data(), message.size());
    MD5HASH digest{};
    HashMD5(digest, message.data(), static_cast<unsigned>(message.size()));
    Require(std::memcmp(digest.bytes, expected.bytes, sizeof(digest.bytes)) == 0, "the digest");

    wchar_t text[33];
    HashMD5ToString(text, message.data(), static_cast<unsigned>(message.size()));
    wchar_t expectedText[32];
    Mem2Hex(expectedText, expected.bytes, sizeof(expected.bytes));
    Require(std::memcmp(text, expectedText, sizeof(expectedText)) == 0 && text[32] == 0,
            "the digest's text");
    return 0;
}
