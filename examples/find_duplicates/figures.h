// Numbers as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace find_duplicates {

/// 1234567 as "1,234,567".
std::wstring FormatCount(std::uint64_t count);
/// `FormatCount` with the noun in the right number: "1 file", "2 files".
std::wstring FormatCount(std::uint64_t count, const wchar_t* noun);
/// Bytes as "0 B", "1023 B", "1.5 KiB", "12.0 GiB".
std::wstring FormatSize(std::uint64_t bytes);
/// Seconds as "0:07", "12:34", "1:02:03".
std::wstring FormatDuration(std::uint64_t seconds);
/// A number with one decimal: "3.1".
std::wstring FormatTenths(double number);

} // namespace find_duplicates
