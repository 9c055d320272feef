#include "process/guard.h"

#include <kq/error/crash_dump.h>

#include <windows.h>

#if defined(__GNUC__) && !defined(__clang__)

// GCC has no __try, but the macros of mingw-w64 give a function the same handler. The filter always
// lets the search go on, so nobody ever arrives behind the guard by way of it.
#include <excpt.h>

extern "C" LONG CALLBACK FilterOfGuard(EXCEPTION_POINTERS* pointers, void* /*frame*/) {
    return kq::error::detail::ExcDump(pointers->ExceptionRecord->ExceptionCode, pointers);
}

[[gnu::noinline]] void RunGuarded(void (*body)()) {
    __try1(FilterOfGuard);
    body();
    __except1;
}

#else

void RunGuarded(void (*body)()) {
    __try {
        body();
    } __except (kq::error::detail::ExcDump(GetExceptionCode(), GetExceptionInformation())) {
    }
}

#endif
