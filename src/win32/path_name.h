// The buffer protocol of GetFullPathNameW and GetLongPathNameW.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kq::win32 {

/// Reads a path of any length from `call`, which is the platform's function with a name, as
/// `DWORD call(wchar_t* buffer, DWORD capacity)`: it returns the number of characters, or the
/// capacity needed when that is more than it was given, or 0 when it fails.
/// Throws `std::runtime_error("Failed to get path name")`.
template <class Call>
std::wstring ReadPathName(Call call) {
    constexpr DWORD usualCapacity = 260;
    constexpr char failure[] = "Failed to get path name";
    std::wstring buffer(usualCapacity, L'\0');
    const DWORD first = call(buffer.data(), usualCapacity);
    if (first == 0)
        throw std::runtime_error(failure);
    if (first > usualCapacity) {
        buffer.assign(first, L'\0');
        const DWORD second = call(buffer.data(), first);
        if (second == 0 || second > first)
            throw std::runtime_error(failure);
    }
    if (const std::size_t end = buffer.find(L'\0'); end != std::wstring::npos)
        buffer.resize(end);
    return buffer;
}

} // namespace kq::win32
