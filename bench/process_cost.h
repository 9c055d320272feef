// What the whole process has used.
#pragma once

#include <windows.h>

#include <psapi.h>

#include <cstdint>

namespace bench {

/// Seconds of processor time that the threads of the process have used.
inline double ProcessorSeconds() {
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        constexpr double ticksPerSecond = 1e7;
        const std::uint64_t ticks = (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
        return static_cast<double>(ticks) / ticksPerSecond;
    };
    return seconds(kernel) + seconds(user);
}

/// Bytes of memory that the process has in use.
inline double MemoryInUse() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.WorkingSetSize);
}

} // namespace bench
