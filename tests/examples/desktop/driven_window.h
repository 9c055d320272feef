// A window of another program, driven as a user would: by messages.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

/// The test has failed; `what()` says why.
[[noreturn]] void Fail(const std::string& why);

/// Polls until `isSo` answers true; fails with `what` when that takes too long.
void WaitUntil(const std::string& what, const std::function<bool()>& isSo);

/// Sends a message; fails when the window does not answer in time.
LRESULT Send(HWND window, UINT message, WPARAM wide = 0, LPARAM longer = 0);

class DrivenWindow {
public:
    explicit DrivenWindow(HWND window) : window_(window) {}

    /// The visible window of that class (and title, unless it is null) that belongs to the process,
    /// as soon as there is one.
    static DrivenWindow Await(DWORD process, const wchar_t* windowClass,
                              const wchar_t* title = nullptr);

    HWND Handle() const { return window_; }
    HWND Control(int id) const;
    RECT Place(int id) const;
    bool IsEnabled(int id) const;
    std::wstring Text(int id) const;
    void Type(int id, const std::wstring& text) const;
    /// Presses a button, without waiting for what it does; fails when it is disabled.
    void Press(int id) const;
    /// Presses and releases a key, in the control that has the focus.
    void PressKey(WORD key) const;
    /// The same with Alt.
    void PressMnemonic(wchar_t letter) const;
    /// The identifier of the control that has the focus.
    int Focus() const;
    void AwaitFocus(int id) const;

    void AwaitText(int id, const std::wstring& start) const;

private:
    HWND FocusedWindow() const;

    HWND window_;
};
