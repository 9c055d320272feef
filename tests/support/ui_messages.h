// What the windows of UI job queues are sent.
#pragma once

#include "support/hand_shake.h"

#include <windows.h>

#include <chrono>
#include <cstddef>

namespace kq_test {

inline constexpr UINT wakeMessage = 0x48E;
inline constexpr WPARAM retryTimer = 1;

/// Whether such a message waits for the calling thread; leaves it there.
inline bool IsWaiting(HWND window, UINT message) {
    MSG found{};
    return PeekMessageW(&found, window, message, message, PM_NOREMOVE) != FALSE &&
           found.message == message;
}

/// Counts, while it lives, the messages that the calling thread takes from its queue, by whichever
/// loop. One at a time.
class MessageCounter {
public:
    MessageCounter() {
        counts() = {};
        hook_ = SetWindowsHookExW(WH_GETMESSAGE, Count, nullptr, GetCurrentThreadId());
    }
    ~MessageCounter() { UnhookWindowsHookEx(hook_); }
    MessageCounter(const MessageCounter&) = delete;
    MessageCounter& operator=(const MessageCounter&) = delete;

    bool IsThere() const { return hook_ != nullptr; }
    std::size_t Wakes() const { return counts().wakes; }
    std::size_t Ticks() const { return counts().ticks; }
    void Reset() { counts() = {}; }

private:
    struct Counts {
        std::size_t wakes = 0;
        std::size_t ticks = 0;
    };

    static Counts& counts() {
        static Counts instance;
        return instance;
    }

    static LRESULT CALLBACK Count(int code, WPARAM wParam, LPARAM lParam) {
        if (code == HC_ACTION && wParam == PM_REMOVE) {
            const MSG& message = *reinterpret_cast<const MSG*>(lParam);
            if (message.message == wakeMessage)
                ++counts().wakes;
            if (message.message == WM_TIMER && message.wParam == retryTimer)
                ++counts().ticks;
        }
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }

    HHOOK hook_;
};

/// A message loop as a host has it, until `predicate` holds. Ends the program when it never does.
template <class Predicate>
void DispatchUntil(Predicate predicate, const char* what = "a message loop") {
    const auto end = std::chrono::steady_clock::now() + handShakeLimit;
    while (!predicate()) {
        MSG message{};
        if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
            continue;
        }
        if (std::chrono::steady_clock::now() >= end)
            FailHandShake(what);
        // The predicate may also be met by another thread, without a message.
        constexpr DWORD lookAgainMilliseconds = 5;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, lookAgainMilliseconds, QS_ALLINPUT);
    }
}

} // namespace kq_test
