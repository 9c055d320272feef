// Environment variables in texts.
#pragma once

#include <kq/export.h>

#include <string>

namespace kq {
namespace win32 {

/// `text` with each %NAME% in it replaced by the environment variable of that name
/// (`ExpandEnvironmentStringsW`); a reference to a variable that does not exist stays as written. A
/// text without "%" is returned unchanged.
///
/// Throws `std::runtime_error("Failed to expand environment strings!")` when a text with "%" has
/// more than 32,766 characters or a zero in it, when the result would have more than 32,766
/// characters, and when the environment changes meanwhile. Callable from any thread.
KQ_API std::wstring ReplaceEnvironmentVariables(const std::wstring& text);

} // namespace win32
} // namespace kq
