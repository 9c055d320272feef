#include "console.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <system_error>

namespace find_duplicates {
namespace {

[[noreturn]] void ThrowWriteError() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "cannot write the output");
}

void WriteToTerminal(HANDLE terminal, std::wstring_view text) {
    // Older consoles refuse texts of more than 64 KiB.
    constexpr std::size_t most = 16'384;
    while (!text.empty()) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(text.size(), most));
        if (!WriteConsoleW(terminal, text.data(), count, &written, nullptr) || written == 0)
            ThrowWriteError();
        text.remove_prefix(written);
    }
}

std::string Utf8(std::wstring_view text) {
    const auto length = static_cast<int>(text.size());
    const int needed =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, result.data(), needed, nullptr, nullptr);
    return result;
}

void WriteBytes(HANDLE file, std::string_view bytes) {
    constexpr std::size_t most = 1 << 20;
    while (!bytes.empty()) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(bytes.size(), most));
        if (!WriteFile(file, bytes.data(), count, &written, nullptr))
            ThrowWriteError();
        bytes.remove_prefix(written);
    }
}

} // namespace

Console Console::Output() { return Console(GetStdHandle(STD_OUTPUT_HANDLE)); }
Console Console::Error() { return Console(GetStdHandle(STD_ERROR_HANDLE)); }

Console::Console(void* handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {
    DWORD mode = 0;
    isTerminal_ = handle_ != nullptr && GetConsoleMode(handle_, &mode) != 0;
}

std::size_t Console::Width() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!isTerminal_ || !GetConsoleScreenBufferInfo(handle_, &info) || info.dwSize.X < 2)
        return 79;
    // A character in the last column would move the cursor to the next line.
    return static_cast<std::size_t>(info.dwSize.X) - 1;
}

void Console::Write(std::wstring_view text) const {
    if (handle_ == nullptr || text.empty())
        return;
    if (isTerminal_)
        WriteToTerminal(handle_, text);
    else
        WriteBytes(handle_, Utf8(text));
}

} // namespace find_duplicates
