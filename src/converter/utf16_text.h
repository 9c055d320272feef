// UTF-16 from UTF-8 that stands anywhere.
#pragma once

#include <windows.h>

#include "converter/code_page.h"

#include <cstddef>
#include <string>

namespace kq::converter {

/// `ConvertUtf8ToUcs2` of the `length` bytes at `text`, without a string to hold them.
inline std::wstring Utf16Text(const char* text, std::size_t length) {
    return ConvertByCodePage<wchar_t>(
        text, length, [](const char* input, int inputLength, wchar_t* output, int capacity) {
            return MultiByteToWideChar(CP_UTF8, 0, input, inputLength, output, capacity);
        });
}

} // namespace kq::converter
