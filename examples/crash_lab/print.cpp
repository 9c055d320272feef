#include "print.h"

#include <kq/converter/utf8.h>

#include <windows.h>

#include <string>

namespace crash_lab {

void Print(std::wstring_view text) {
    const std::string bytes = kq::converter::ConvertUcs2ToUtf8(std::wstring(text));
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
              &written, nullptr);
}

} // namespace crash_lab
