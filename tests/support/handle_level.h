// Whether handles leak.
#pragma once

#include <windows.h>

#include <cstdint>

/// A number that stays the same as long as this process neither gains nor loses handles: take it
/// before and after many rounds. It is the number of open handles; where the system does not count
/// them (Wine answers 0), it is the value of a fresh handle, which comes from the lowest free slot.
inline std::uintptr_t HandleLevel() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    if (count != 0)
        return count;
    const HANDLE fresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(fresh);
    return reinterpret_cast<std::uintptr_t>(fresh);
}
