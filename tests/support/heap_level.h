// Whether memory of the process heap leaks, where the system keeps what it hands out.
#pragma once

#include <windows.h>

#include <cstddef>

/// The number of blocks in use in the process heap.
inline std::size_t HeapLevel() {
    const HANDLE heap = GetProcessHeap();
    HeapLock(heap);
    std::size_t blocks = 0;
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            ++blocks;
    HeapUnlock(heap);
    return blocks;
}
