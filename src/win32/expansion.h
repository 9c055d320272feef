// The buffer protocol of ExpandEnvironmentStringsW.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kq::win32 {

/// Expands `text` with `call`, which is the platform's function, as
/// `DWORD call(const wchar_t* text, wchar_t* buffer, DWORD capacity)`: it returns the capacity that
/// the result needs with its terminating zero, or 0 when it fails. `call` is not made for a text
/// without "%". Throws `std::runtime_error("Failed to expand environment strings!")`.
template <class Call>
std::wstring ExpandReferences(const std::wstring& text, Call call) {
    // The platform documents 32 K as the limit of both its buffers. Wine cuts what is longer (in
    // its 16-bit lengths) and reports success, so that nobody would notice.
    constexpr std::size_t longest = 32'766;
    const auto require = [](bool holds) {
        if (!holds)
            throw std::runtime_error("Failed to expand environment strings!");
    };
    if (text.find(L'%') == std::wstring::npos)
        return text;
    // The platform would read up to the first zero only.
    require(text.size() <= longest && text.find(L'\0') == std::wstring::npos);
    const DWORD needed = call(text.c_str(), nullptr, 0);
    require(needed != 0 && needed - 1 <= longest);
    std::wstring buffer(needed, L'\0');
    require(call(text.c_str(), buffer.data(), needed) == needed);
    buffer.resize(needed - 1);
    return buffer;
}

} // namespace kq::win32
