// The hidden windows of UI job queues.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace kq_test {

inline constexpr const wchar_t* uiWindowClass = L"kq::concurrency::CUIJobQueue";

/// Those of this process. Other processes have message-only windows too, which come and go
/// meanwhile: a walk from window to window would lose its way, so this goes by one list of the
/// children of their common parent, which has no name of its own.
inline std::vector<HWND> UIWindows() {
    HWND root = nullptr;
    while (root == nullptr) {
        const HWND any = FindWindowExW(HWND_MESSAGE, nullptr, nullptr, nullptr);
        if (any == nullptr)
            return {};
        root = GetAncestor(any, GA_PARENT);
    }
    std::vector<HWND> windows;
    const auto addOurs = [](HWND window, LPARAM list) -> BOOL {
        DWORD process = 0;
        std::array<wchar_t, 64> name{};
        GetWindowThreadProcessId(window, &process);
        if (process == GetCurrentProcessId() &&
            GetClassNameW(window, name.data(), static_cast<int>(name.size())) != 0 &&
            std::wstring_view(name.data()) == uiWindowClass)
            reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
        return TRUE;
    };
    EnumChildWindows(root, addOurs, reinterpret_cast<LPARAM>(&windows));
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
