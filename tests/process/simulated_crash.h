// A crash that its thread survives.
#pragma once

#include <kq/error/crash_dump.h>

#include <windows.h>

/// Calls the crash filter as the system would for a crash at this place.
inline void SimulateCrash() {
    CONTEXT context{};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = STATUS_ACCESS_VIOLATION;
    record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
    EXCEPTION_POINTERS pointers{&record, &context};
    kq::error::detail::ExcDump(record.ExceptionCode, &pointers);
}
