// Exact conversions between UTF-16 and UTF-8.
#pragma once

#include <kq/export.h>

#include <string>

namespace kq {
namespace converter {

/// The UTF-8 form of the UTF-16 `text`, made by `WideCharToMultiByte` with code page 65001 and no
/// flags. Malformed text is not an error: each unpaired surrogate becomes U+FFFD. Zeros are
/// characters like any other; an empty text gives an empty one.
///
/// Throws `std::runtime_error("Failed to convert string!")` when `text` has more than 2,147,483,647
/// units or its UTF-8 form would have more than 2,147,483,647 bytes. Callable from any thread.
KQ_API std::string ConvertUcs2ToUtf8(const std::wstring& text);

/// The UTF-16 form of the UTF-8 `text`, made by `MultiByteToWideChar` with code page 65001 and no
/// flags. Malformed sequences are not an error: the platform replaces them with U+FFFD. Zeros are
/// characters like any other; an empty text gives an empty one.
///
/// Throws `std::runtime_error("Failed to convert string!")` when `text` has more than 2,147,483,647
/// bytes. Callable from any thread.
KQ_API std::wstring ConvertUtf8ToUcs2(const std::string& text);

} // namespace converter
} // namespace kq
