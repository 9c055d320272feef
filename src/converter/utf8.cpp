#include <windows.h>

#include <kq/converter/utf8.h>

#include "converter/code_page.h"
#include "converter/utf16_text.h"

namespace kq::converter {

std::string ConvertUcs2ToUtf8(const std::wstring& text) {
    return ConvertByCodePage<char>(
        text.data(), text.size(), [](const wchar_t* input, int length, char* output, int capacity) {
            return WideCharToMultiByte(CP_UTF8, 0, input, length, output, capacity, nullptr,
                                       nullptr);
        });
}

std::wstring ConvertUtf8ToUcs2(const std::string& text) {
    return Utf16Text(text.data(), text.size());
}

} // namespace kq::converter
