// The platform's MD5, by the system's library of cryptography.
#pragma once

#include <windows.h>

#include <openssl/evp.h>

// NOLINTBEGIN: the names are the platform's

#define BCRYPT_MD5_ALGORITHM L"MD5"

using ULONG = std::uint32_t;
using BCRYPT_ALG_HANDLE = const EVP_MD*;

inline LONG BCryptOpenAlgorithmProvider(BCRYPT_ALG_HANDLE* algorithm, LPCWSTR /*name*/,
                                        LPCWSTR /*implementation*/, ULONG /*flags*/) {
    *algorithm = EVP_md5();
    return 0;
}

inline LONG BCryptCloseAlgorithmProvider(BCRYPT_ALG_HANDLE /*algorithm*/, ULONG /*flags*/) {
    return 0;
}

inline LONG BCryptHash(BCRYPT_ALG_HANDLE algorithm, void* /*secret*/, ULONG /*secretLength*/,
                       unsigned char* data, ULONG length, unsigned char* digest,
                       ULONG /*digestLength*/) {
    return EVP_Digest(data, length, digest, nullptr, algorithm, nullptr) == 1 ? 0 : -1;
}

// NOLINTEND
