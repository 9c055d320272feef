#include "concurrency/ui_window.h"

#include <kq/thread/scoped_locks.h>

#include "thread/mutex.h"

#include <cstddef>

namespace kq::concurrency {

namespace {

constexpr const wchar_t* className = L"kq::concurrency::CUIJobQueue";
constexpr UINT wakeMessage = WM_USER + 142;
constexpr UINT_PTR retryTimer = 1;
constexpr UINT retryMilliseconds = 20;
constexpr int eventsIndex = 0; // in the window's extra bytes

/// The host's executable, not this library: the class is a service to the whole process.
HINSTANCE ClassOwner() noexcept { return GetModuleHandleW(nullptr); }

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const events = reinterpret_cast<UIWindowEvents*>(GetWindowLongPtrW(window, eventsIndex));
    if (events != nullptr && message == wakeMessage) {
        events->OnWake();
        return 0;
    }
    if (events != nullptr && message == WM_TIMER && wParam == retryTimer)
        events->OnRetryTimer();
    return DefWindowProcW(window, message, wParam, lParam);
}

thread::mutex classMutex;
std::size_t classUsers KQ_GUARDED_BY(classMutex) = 0;

void AcquireClass() noexcept {
    const thread::lock_guard guard(classMutex);
    if (classUsers++ != 0)
        return;
    WNDCLASSW description{};
    description.lpfnWndProc = WindowProcedure;
    description.cbWndExtra = sizeof(LONG_PTR);
    description.hInstance = ClassOwner();
    description.lpszClassName = className;
    RegisterClassW(&description);
}

void ReleaseClass() noexcept {
    const thread::lock_guard guard(classMutex);
    if (--classUsers == 0)
        UnregisterClassW(className, ClassOwner());
}

} // namespace

UIWindow::UIWindow(UIWindowEvents& events) : thread_(GetCurrentThreadId()) {
    AcquireClass();
    window_ = CreateWindowExW(0, className, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              ClassOwner(), nullptr);
    if (window_ == nullptr)
        return;
    // The class may be one that an earlier life of this library had to leave behind.
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&WindowProcedure));
    SetWindowLongPtrW(window_, eventsIndex, reinterpret_cast<LONG_PTR>(&events));
}

UIWindow::~UIWindow() {
    if (window_ != nullptr) {
        SetWindowLongPtrW(window_, eventsIndex, 0);
        if (!TryToDestroy())
            Abandon();
    }
    ReleaseClass();
}

bool UIWindow::TryToDestroy() noexcept {
    if (GetCurrentThreadId() != thread_)
        return false;
    StopRetryTimer();
    // A hook of the host may forbid it.
    return DestroyWindow(window_) != FALSE;
}

// Only its own thread can destroy a window. Another one can take it, and its class, away from this
// library's code, and ask that thread to destroy it; should that thread not answer soon, because it
// waits for something, the window stays without harm until the thread looks at its messages or
// ends.
void UIWindow::Abandon() noexcept {
    constexpr UINT patienceMilliseconds = 200;
    const auto systemProcedure = reinterpret_cast<LONG_PTR>(&DefWindowProcW);
    SetWindowLongPtrW(window_, GWLP_WNDPROC, systemProcedure);
    SetClassLongPtrW(window_, GCLP_WNDPROC, systemProcedure);
    DWORD_PTR result = 0;
    if (SendMessageTimeoutW(window_, WM_CLOSE, 0, 0, SMTO_NORMAL, patienceMilliseconds, &result) ==
        0)
        PostMessageW(window_, WM_CLOSE, 0, 0);
}

bool UIWindow::PostWake() const noexcept {
    // A message for a null window would go to the calling thread, and to nobody.
    return window_ != nullptr && PostMessageW(window_, wakeMessage, 0, 0) != FALSE;
}

void UIWindow::StartRetryTimer() noexcept {
    if (window_ != nullptr && timer_ == 0)
        timer_ = SetTimer(window_, retryTimer, retryMilliseconds, nullptr);
}

void UIWindow::StopRetryTimer() noexcept {
    if (timer_ == 0)
        return;
    KillTimer(window_, retryTimer);
    timer_ = 0;
}

} // namespace kq::concurrency
