// Counts how often the library in a test program wakes threads. For programs that hold the
// library's objects themselves: it redirects what the program imports from the system.
#pragma once

#include "support/imports.h"

#include <windows.h>

#include <atomic>
#include <cstddef>

namespace kq_test {

/// How often the system has been asked to wake a thread, whether or not one slept.
inline std::atomic<std::size_t> wakeUpCount{0};

using WakeFunction = void(WINAPI*)(void* address);

inline WakeFunction systemWakeOne = nullptr;
inline WakeFunction systemWakeAll = nullptr;

inline void WINAPI CountedWakeOne(void* address) {
    wakeUpCount.fetch_add(1, std::memory_order_relaxed);
    systemWakeOne(address);
}
inline void WINAPI CountedWakeAll(void* address) {
    wakeUpCount.fetch_add(1, std::memory_order_relaxed);
    systemWakeAll(address);
}

/// From now on wake-ups are counted; to be called while no other thread wakes any. Returns whether
/// both ways to wake were found. Does nothing the second time.
inline bool CountWakeUps() {
    const HMODULE program = GetModuleHandleW(nullptr);
    if (systemWakeOne == nullptr)
        systemWakeOne = RedirectImport(program, "WakeByAddressSingle", CountedWakeOne);
    if (systemWakeAll == nullptr)
        systemWakeAll = RedirectImport(program, "WakeByAddressAll", CountedWakeAll);
    return systemWakeOne != nullptr && systemWakeAll != nullptr;
}

} // namespace kq_test
