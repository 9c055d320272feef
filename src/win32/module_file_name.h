// The buffer protocol of GetModuleFileNameW.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kq::win32 {

/// Reads a file name of any length from `call`, which is the platform's function with a module, as
/// `DWORD call(wchar_t* buffer, DWORD capacity)`: it returns the number of characters, or 0 when it
/// fails, and sets the last error to `ERROR_INSUFFICIENT_BUFFER` when it cut the name.
/// Throws `std::runtime_error("Failed to get module file name!")`.
template <class Call>
std::wstring ReadModuleFileName(Call call) {
    constexpr DWORD step = 260;
    for (DWORD capacity = step;;) {
        std::wstring buffer(capacity, L'\0');
        // A success does not clear it on Windows.
        SetLastError(ERROR_SUCCESS);
        const DWORD length = call(buffer.data(), capacity);
        if (length == 0)
            throw std::runtime_error("Failed to get module file name!");
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
            buffer.resize(length);
            return buffer;
        }
        capacity = length + step;
    }
}

} // namespace kq::win32
