// The rows of the table of conversions. Each function measures and prints its own.
#pragma once

namespace bench {

/// Memory to hexadecimal text and back.
void Hex();

/// Digests of 64 MiB and of 64 bytes.
void Md5();

/// UTF-16 to UTF-8 and back.
void Utf();

} // namespace bench
