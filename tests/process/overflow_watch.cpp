#include "process/overflow_watch.h"

#include <kq/error/crash_dump.h>

#include <windows.h>

#include <cstddef>

namespace {

// After an overflow hardly enough is left of the stack to get here, and not everywhere enough for
// those who search for a filter. A fiber has a stack of its own, and is the same thread.
void* reportingFiber = nullptr;
EXCEPTION_POINTERS* overflow = nullptr;

void CALLBACK Report(void* /*parameter*/) {
    const DWORD code = overflow->ExceptionRecord->ExceptionCode;
    kq::error::detail::ExcDump(code, overflow);
    TerminateProcess(GetCurrentProcess(), code);
}

LONG CALLBACK LeaveOverflownStack(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW) {
        overflow = pointers;
        SwitchToFiber(reportingFiber);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void WatchForOverflow() {
    constexpr std::size_t stackSize = 0x10000;
    ConvertThreadToFiber(nullptr);
    reportingFiber = CreateFiberEx(stackSize, stackSize, 0, Report, nullptr);
    AddVectoredExceptionHandler(1, LeaveOverflownStack);
}
