#include "interruption.h"

#include <windows.h>

#include <exception>
#include <mutex>
#include <utility>

namespace find_duplicates {
namespace {

using kq::progress::IProgressSignaler;

std::mutex mutex; // guards the following
std::shared_ptr<IProgressSignaler> watched;

std::shared_ptr<IProgressSignaler> Watched() {
    const std::lock_guard guard(mutex);
    return watched;
}

void Watch(std::shared_ptr<IProgressSignaler> work) {
    const std::lock_guard guard(mutex);
    watched.swap(work);
}

/// Runs on a thread that the system makes for it. Closing the window, logging off and shutting down
/// are left to the system: it gives no time to finish anything.
BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        return FALSE;
    const auto work = Watched();
    if (work == nullptr || !work->CanCancel())
        return FALSE;
    try {
        work->Cancel();
    } catch (const std::exception&) {
        return TRUE; // the work is cancelled, though it could not be shown
    }
    return TRUE;
}

} // namespace

InterruptionWatch::InterruptionWatch(std::shared_ptr<IProgressSignaler> work) {
    Watch(std::move(work));
    SetConsoleCtrlHandler(OnControl, TRUE);
}

InterruptionWatch::~InterruptionWatch() {
    SetConsoleCtrlHandler(OnControl, FALSE);
    Watch({});
}

} // namespace find_duplicates
