// The buffer protocol of GetTempPathW.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kq::win32 {

/// Reads a path from `call`, which is the platform's function, as
/// `DWORD call(DWORD capacity, wchar_t* buffer)`: it returns the number of characters, or the
/// capacity needed when it was given less, or 0 when it fails.
/// Throws `std::runtime_error("Could not get system temp path")`.
template <class Call>
std::wstring ReadTempPath(Call call) {
    constexpr char failure[] = "Could not get system temp path";
    const DWORD needed = call(0, nullptr);
    if (needed == 0)
        throw std::runtime_error(failure);
    const DWORD capacity = needed + 1;
    std::wstring buffer(capacity, L'\0');
    const DWORD length = call(capacity, buffer.data());
    if (length == 0 || length >= capacity)
        throw std::runtime_error(failure);
    buffer.resize(length);
    return buffer;
}

} // namespace kq::win32
