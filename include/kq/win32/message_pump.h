// The message loop's part of UI jobs, and the thread that it runs on.
#pragma once

#include <kq/export.h>
#include <kq/win32/types.h>

#include <cstdint>

namespace kq {
namespace win32 {

/// A thread identifier of Windows; 0 is no thread.
struct ThreadId {
    std::uint32_t value; ///< as `GetCurrentThreadId` yields it

    /// Whether they are the same thread, or both none.
    friend bool operator==(ThreadId left, ThreadId right) noexcept {
        return left.value == right.value;
    }
    /// The opposite.
    friend bool operator!=(ThreadId left, ThreadId right) noexcept { return !(left == right); }
};

/// Takes, translates and dispatches the messages of `window` (`PeekMessageW`, `TranslateMessage`,
/// `DispatchMessageW`) until none is left; never waits. A null `window` means all messages of the
/// calling thread. A quit message (`WM_QUIT`) that comes by is not lost: it is posted again, once,
/// when the others have been dispatched.
/// For the thread that owns the window. Throws nothing of its own.
KQ_API void PumpMessageQueue(HWND__* window);

/// The same for all messages of the calling thread.
KQ_API void PumpMessageQueue();

/// The main (UI) thread: the one that loaded the library. Never changes afterwards.
KQ_API ThreadId GetMainThreadId() noexcept;

/// Whether the calling thread is the main thread.
KQ_API bool IsMainThread() noexcept;

} // namespace win32
} // namespace kq
