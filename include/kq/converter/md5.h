// MD5 digests of memory (RFC 1321). Global functions, kept for older callers. MD5 tells files apart
// that nobody tampered with; it is no protection against somebody who wants two of them to collide.
#pragma once

#include <kq/export.h>

/// An MD5 digest: its 16 bytes in the order in which RFC 1321 outputs them.
struct MD5HASH {
    unsigned char bytes[16]; ///< the first is the low-order byte of the first word (A)
};

/// Computes the MD5 digest of the `length` bytes at `data`, which do not have to be aligned; `data`
/// may be null when `length` is 0. Never fails, allocates nothing; callable from any thread.
KQ_API void HashMD5(MD5HASH& digest, void const* data, unsigned int length) noexcept;

/// Computes the MD5 digest of the `length` bytes at `data` and writes it to `out` as 32 lower-case
/// hexadecimal characters and a terminating zero, 33 characters in all. Otherwise as `HashMD5`.
KQ_API void HashMD5ToString(wchar_t* out, void const* data, unsigned int length) noexcept;
