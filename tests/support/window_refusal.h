// Windows that cannot be had.
#pragma once

#include <windows.h>

namespace kq_test {

/// Has the calling thread's windows refused, both to be made and to be destroyed, while it lives.
class WindowRefusal {
public:
    WindowRefusal() : hook_(SetWindowsHookExW(WH_CBT, Refuse, nullptr, GetCurrentThreadId())) {}
    ~WindowRefusal() { UnhookWindowsHookEx(hook_); }
    WindowRefusal(const WindowRefusal&) = delete;
    WindowRefusal& operator=(const WindowRefusal&) = delete;

private:
    static LRESULT CALLBACK Refuse(int code, WPARAM wParam, LPARAM lParam) {
        if (code == HCBT_CREATEWND || code == HCBT_DESTROYWND)
            return 1;
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }

    HHOOK hook_;
};

} // namespace kq_test
