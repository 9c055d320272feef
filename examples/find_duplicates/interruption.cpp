#include "interruption.h"

#include <windows.h>

#include <atomic>

namespace find_duplicates {
namespace {

std::atomic<bool> interrupted{false};

/// Runs on a thread that the system makes for it. Closing the window, logging off and shutting down
/// are left to the system: it gives no time to finish anything.
BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        return FALSE;
    return interrupted.exchange(true) ? FALSE : TRUE;
}

} // namespace

InterruptionWatch::InterruptionWatch() { SetConsoleCtrlHandler(OnControl, TRUE); }
InterruptionWatch::~InterruptionWatch() { SetConsoleCtrlHandler(OnControl, FALSE); }

void ThrowIfInterrupted() {
    if (interrupted)
        throw Interruption();
}

} // namespace find_duplicates
