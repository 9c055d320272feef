// Memory to hexadecimal text and back. Global functions, kept for older callers.
#pragma once

#include <kq/export.h>

/// Writes the `length` bytes at `data` as wide hexadecimal text: two characters a byte, high nibble
/// first, in lower case. `out` has room for 2 * `length` characters; no terminating zero is
/// written. Returns the position after the last character written, which is `out` when `length` is
/// 0 (both pointers may then be null). Neither buffer has to be aligned; they may not overlap.
/// Never fails, allocates nothing; callable from any thread.
KQ_API wchar_t* Mem2Hex(wchar_t* out, void const* data, unsigned long long length) noexcept;

/// Reads `count` characters of hexadecimal text as pairs, the high nibble first, and writes one
/// byte for each pair. Digits may be in either case; every other character counts as the digit 0,
/// text is never rejected. An odd last character is ignored. `out` has room for `count` / 2 bytes.
/// Returns the position after the last byte written, which is `out` when `count` is below 2.
/// Neither buffer has to be aligned; they may not overlap. Never fails, allocates nothing; callable
/// from any thread.
KQ_API void* Hex2Mem(void* out, wchar_t const* text, unsigned long long count) noexcept;
