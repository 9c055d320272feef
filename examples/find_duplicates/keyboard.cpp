#include "keyboard.h"

#include <windows.h>

#include <algorithm>

namespace find_duplicates {
namespace {

std::wstring ReadTerminal(HANDLE terminal) {
    std::wstring keys;
    INPUT_RECORD record{};
    DWORD count = 0;
    while (PeekConsoleInputW(terminal, &record, 1, &count) && count > 0 &&
           ReadConsoleInputW(terminal, &record, 1, &count)) {
        if (record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown &&
            record.Event.KeyEvent.uChar.UnicodeChar != 0)
            keys += record.Event.KeyEvent.uChar.UnicodeChar;
    }
    return keys;
}

std::wstring ReadPipe(HANDLE pipe) {
    std::wstring keys;
    DWORD available = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available > 0) {
        char buffer[64];
        DWORD length = 0;
        if (!ReadFile(pipe, buffer, std::min<DWORD>(available, sizeof buffer), &length, nullptr))
            break;
        keys.append(buffer, buffer + length);
    }
    return keys;
}

} // namespace

Keyboard::Keyboard()
    : handle_(GetStdHandle(STD_INPUT_HANDLE)), isPipe_(GetFileType(handle_) == FILE_TYPE_PIPE) {
    isTerminal_ = GetConsoleMode(handle_, &mode_) != 0;
    constexpr DWORD byLines = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
    if (isTerminal_)
        SetConsoleMode(handle_, mode_ & ~byLines);
}

Keyboard::~Keyboard() {
    if (isTerminal_)
        SetConsoleMode(handle_, mode_);
}

std::wstring Keyboard::Typed() {
    if (isTerminal_)
        return ReadTerminal(handle_);
    return isPipe_ ? ReadPipe(handle_) : std::wstring();
}

} // namespace find_duplicates
