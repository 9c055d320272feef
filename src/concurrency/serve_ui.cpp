#include "concurrency/serve_ui.h"

#include "concurrency/pool_thread.h"
#include "concurrency/ui_job_queue_impl.h"
#include "win32/dispatch_messages.h"

#include <windows.h>

#include <memory>
#include <optional>

namespace kq::concurrency {

void ServeUIDuring(const Job& work, CUIJobQueueImpl& queue) {
    const HWND window = queue.Window();
    const std::unique_ptr<void, decltype(&CloseHandle)> done(
        CreateEventW(nullptr, TRUE, FALSE, nullptr), &CloseHandle);
    std::unique_ptr<CThread> thread;
    if (done != nullptr && window != nullptr)
        thread = MakePoolThread([&work, &done] {
            work();
            SetEvent(done.get());
        });
    if (thread == nullptr) {
        work();
        return;
    }
    // The wait ends for messages that came after the last look only, so others that nobody fetches
    // do not make it spin.
    const HANDLE handle = done.get();
    DWORD result = WAIT_OBJECT_0;
    std::optional<int> quit;
    do {
        // The message loop that a job may run has to see it. The wait must not: it would end for it
        // every time.
        if (quit)
            PostQuitMessage(*quit);
        quit = win32::DispatchMessages(window);
        result = MsgWaitForMultipleObjects(1, &handle, FALSE, INFINITE,
                                           QS_POSTMESSAGE | QS_TIMER | QS_SENDMESSAGE);
    } while (result == WAIT_OBJECT_0 + 1);
    if (quit)
        PostQuitMessage(*quit);
}

} // namespace kq::concurrency
