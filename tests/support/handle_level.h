// Whether handles leak.
#pragma once

#include <windows.h>

#include <cstddef>
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

/// The number of open handles: exact, also where a leak fills up a gap below the fresh ones. Where
/// the system does not count them it tries every value, which takes some milliseconds.
inline std::size_t OpenHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    if (count != 0)
        return count;
    constexpr std::uintptr_t step = 4;
    constexpr std::uintptr_t end = 0x2000;
    std::size_t handles = 0;
    for (std::uintptr_t value = step; value != end; value += step) {
        DWORD flags = 0;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE)
            ++handles;
    }
    return handles;
}
