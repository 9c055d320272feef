#include "driven_window.h"

#include <stdexcept>

namespace {

constexpr DWORD patience = 150'000; // milliseconds

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text)
        narrow += character < 0x80 ? static_cast<char>(character) : '?';
    return narrow;
}

/// What is looked for among all windows.
struct Search {
    DWORD process;
    const wchar_t* windowClass;
    const wchar_t* title;
    HWND found;
};

BOOL CALLBACK Look(HWND window, LPARAM parameter) {
    Search& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t text[200] = L"";
    if (process != search.process || !IsWindowVisible(window) ||
        GetClassNameW(window, text, 200) == 0 || wcscmp(text, search.windowClass) != 0)
        return TRUE;
    GetWindowTextW(window, text, 200);
    if (search.title != nullptr && wcscmp(text, search.title) != 0)
        return TRUE;
    search.found = window;
    return FALSE;
}

} // namespace

void Fail(const std::string& why) { throw std::runtime_error(why); }

void WaitUntil(const std::string& what, const std::function<bool()>& isSo) {
    const ULONGLONG begin = GetTickCount64();
    while (!isSo()) {
        if (GetTickCount64() - begin > patience)
            Fail("in vain waited until " + what);
        Sleep(10); // between two looks
    }
}

LRESULT Send(HWND window, UINT message, WPARAM wide, LPARAM longer) {
    DWORD_PTR result = 0;
    if (SendMessageTimeoutW(window, message, wide, longer, SMTO_NORMAL, patience, &result) == 0)
        Fail("no answer to message " + std::to_string(message));
    return static_cast<LRESULT>(result);
}

DrivenWindow DrivenWindow::Await(DWORD process, const wchar_t* windowClass, const wchar_t* title) {
    Search search{process, windowClass, title, nullptr};
    WaitUntil("there is a window of class " + Narrow(windowClass), [&] {
        EnumWindows(Look, reinterpret_cast<LPARAM>(&search));
        return search.found != nullptr;
    });
    return DrivenWindow(search.found);
}

HWND DrivenWindow::Control(int id) const {
    HWND const control = GetDlgItem(window_, id);
    if (control == nullptr)
        Fail("no control " + std::to_string(id));
    return control;
}

RECT DrivenWindow::Place(int id) const {
    RECT place{};
    GetWindowRect(Control(id), &place);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

bool DrivenWindow::IsEnabled(int id) const { return IsWindowEnabled(Control(id)) != FALSE; }

std::wstring DrivenWindow::Text(int id) const {
    wchar_t text[4096] = L"";
    Send(Control(id), WM_GETTEXT, 4096, reinterpret_cast<LPARAM>(text));
    return text;
}

void DrivenWindow::Type(int id, const std::wstring& text) const {
    Send(Control(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void DrivenWindow::Press(int id) const {
    if (!IsEnabled(id))
        Fail("the button " + std::to_string(id) + " is disabled");
    PostMessageW(Control(id), BM_CLICK, 0, 0);
}

void DrivenWindow::PressKey(WORD key) const {
    HWND const focus = FocusedWindow();
    PostMessageW(focus, WM_KEYDOWN, key, 1);
    PostMessageW(focus, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

void DrivenWindow::PressMnemonic(wchar_t letter) const {
    constexpr LPARAM altIsDown = 1 << 29;
    PostMessageW(FocusedWindow(), WM_SYSCHAR, static_cast<WPARAM>(letter), altIsDown | 1);
}

HWND DrivenWindow::FocusedWindow() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &info);
    return info.hwndFocus != nullptr ? info.hwndFocus : window_;
}

int DrivenWindow::Focus() const { return GetDlgCtrlID(FocusedWindow()); }

void DrivenWindow::AwaitFocus(int id) const {
    WaitUntil("control " + std::to_string(id) + " has the focus", [&] { return Focus() == id; });
}

void DrivenWindow::AwaitText(int id, const std::wstring& start) const {
    WaitUntil("control " + std::to_string(id) + " shows '" + Narrow(start) + "'",
              [&] { return Text(id).compare(0, start.size(), start) == 0; });
}
