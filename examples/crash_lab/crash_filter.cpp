#include "crash_filter.h"

#include <kq/error/crash_dump.h>

#include <windows.h>

#include <cstddef>

namespace crash_lab {
namespace {

// A second stack for the same thread.
struct Rescue {
    void* fiber;
    EXCEPTION_POINTERS* overflow;
};

const DWORD rescueSlot = TlsAlloc();

LONG WINAPI Record(EXCEPTION_POINTERS* pointers) {
    return kq::error::detail::ExcDump(pointers->ExceptionRecord->ExceptionCode, pointers);
}

void CALLBACK RecordOverflow(void* rescue) {
    EXCEPTION_POINTERS* const overflow = static_cast<Rescue*>(rescue)->overflow;
    Record(overflow);
    TerminateProcess(GetCurrentProcess(), overflow->ExceptionRecord->ExceptionCode);
}

LONG CALLBACK LeaveOverflownStack(EXCEPTION_POINTERS* pointers) {
    auto* const rescue = static_cast<Rescue*>(TlsGetValue(rescueSlot));
    if (pointers->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW && rescue != nullptr) {
        rescue->overflow = pointers;
        SwitchToFiber(rescue->fiber);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void InstallCrashFilter() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); // no message boxes
    SetUnhandledExceptionFilter(Record);
    AddVectoredExceptionHandler(1, LeaveOverflownStack);
}

void ReportOverflowsOfThisThread() {
    constexpr std::size_t stackSize = 0x40000;
    if (TlsGetValue(rescueSlot) != nullptr)
        return;
    // Both live as long as the thread may fail.
    auto* const rescue = new Rescue{};
    ConvertThreadToFiber(nullptr);
    rescue->fiber = CreateFiberEx(stackSize, stackSize, 0, RecordOverflow, rescue);
    TlsSetValue(rescueSlot, rescue);
}

} // namespace crash_lab
