#include "concurrency/serve_ui.h"

#include "concurrency/pool_thread.h"
#include "concurrency/ui_job_queue_impl.h"

#include <windows.h>

#include <memory>

namespace kq::concurrency {

void ServeUIDuring(const Job& work, CUIJobQueueImpl& queue) {
    const std::unique_ptr<void, decltype(&CloseHandle)> done(
        CreateEventW(nullptr, TRUE, FALSE, nullptr), &CloseHandle);
    std::unique_ptr<CThread> thread;
    if (done != nullptr)
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
    do {
        queue.Pump();
        result = MsgWaitForMultipleObjects(1, &handle, FALSE, INFINITE,
                                           QS_POSTMESSAGE | QS_TIMER | QS_SENDMESSAGE);
    } while (result == WAIT_OBJECT_0 + 1);
}

} // namespace kq::concurrency
