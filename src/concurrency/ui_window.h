// The hidden window of a UI job queue.
#pragma once

#include <windows.h>

#include <cstdint>

namespace kq::concurrency {

/// What a `UIWindow` tells. The window keeps a plain pointer: the owner destroys the window first.
class UIWindowEvents {
public:
    /// The wake message or the retry timer came. On the window's thread.
    virtual void OnWake() noexcept = 0;
    virtual void OnRetryTimer() noexcept = 0;

protected:
    ~UIWindowEvents() = default;
};

/// A message-only window of the calling thread, of the class that all such windows of the process
/// share: registered with the first, unregistered with the last.
///
/// Belongs to the thread that made it, but for `PostWake`. Destroyed on another thread, which only
/// happens when the library is unmapped from there, it does what is possible: see `Abandon`.
class UIWindow {
public:
    explicit UIWindow(UIWindowEvents& events);
    ~UIWindow();
    UIWindow(const UIWindow&) = delete;
    UIWindow& operator=(const UIWindow&) = delete;

    /// Null when the window could not be made.
    HWND Handle() const noexcept { return window_; }

    /// Posts the wake message; false when that was not possible. Any thread.
    bool PostWake() const noexcept;

    bool HasRetryTimer() const noexcept { return timer_ != 0; }
    void StartRetryTimer() noexcept;
    void StopRetryTimer() noexcept;

private:
    bool TryToDestroy() noexcept;
    void Abandon() noexcept;

    const DWORD thread_;
    HWND window_ = nullptr;
    std::uintptr_t timer_ = 0;
};

} // namespace kq::concurrency
