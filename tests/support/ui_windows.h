// The hidden windows of UI job queues.
#pragma once

#include <windows.h>

#include <algorithm>
#include <vector>

namespace kq_test {

inline constexpr const wchar_t* uiWindowClass = L"kq::concurrency::CUIJobQueue";

/// Those of this process; message-only windows of other processes are found too and left out.
inline std::vector<HWND> UIWindows() {
    std::vector<HWND> windows;
    HWND window = nullptr;
    while ((window = FindWindowExW(HWND_MESSAGE, window, uiWindowClass, nullptr)) != nullptr) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process == GetCurrentProcessId())
            windows.push_back(window);
    }
    return windows;
}

/// The one window that `make` adds; null when it adds none.
template <class Make>
HWND NewUIWindow(Make make) {
    const std::vector<HWND> before = UIWindows();
    make();
    for (const HWND window : UIWindows())
        if (std::find(before.begin(), before.end(), window) == before.end())
            return window;
    return nullptr;
}

} // namespace kq_test
