// What is still at it when the process ends.
#pragma once

#include <windows.h>

#include <atomic>

/// Never returns, and takes the processor all the time.
[[noreturn]] inline void ComputeForever() {
    std::atomic<unsigned int> turns{0};
    for (;;)
        turns.fetch_add(1, std::memory_order_relaxed);
}

/// Never returns, and waits all the time.
[[noreturn]] inline void BlockForever() {
    for (;;)
        Sleep(INFINITE);
}
