#include "keyboard.h"

#include <windows.h>

#include <algorithm>

namespace find_duplicates {
namespace {

/// The character that a record stands for, 0 when it is none.
wchar_t CharacterOf(const INPUT_RECORD& record) {
    // NOLINTBEGIN(cppcoreguidelines-pro-type-union-access): the platform's record
    const bool isKeyDown = record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown != FALSE;
    return isKeyDown ? record.Event.KeyEvent.uChar.UnicodeChar : L'\0';
    // NOLINTEND(cppcoreguidelines-pro-type-union-access)
}

std::wstring ReadTerminal(HANDLE terminal) {
    std::wstring keys;
    INPUT_RECORD record{};
    DWORD count = 0;
    while (PeekConsoleInputW(terminal, &record, 1, &count) != FALSE && count > 0 &&
           ReadConsoleInputW(terminal, &record, 1, &count) != FALSE) {
        if (const wchar_t character = CharacterOf(record); character != L'\0')
            keys += character;
    }
    return keys;
}

std::wstring ReadPipe(HANDLE pipe) {
    std::wstring keys;
    DWORD available = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) != FALSE &&
           available > 0) {
        char buffer[64];
        DWORD length = 0;
        if (ReadFile(pipe, buffer, std::min<DWORD>(available, sizeof buffer), &length, nullptr) ==
            FALSE)
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
