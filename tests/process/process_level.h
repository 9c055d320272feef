// What a process has of things that leak.
#pragma once

#include "support/handle_level.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// Blocks in use in all heaps of the process. Only to be asked while no other thread uses them.
inline std::size_t HeapBlocks() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t blocks = 0;
    for (DWORD heap = 0; heap != count && heap != heaps.size(); ++heap) {
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[heap], &entry))
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
    }
    return blocks;
}

/// Whether so many rounds of `live` leave no handle and no block of memory behind: fewer than one
/// in two rounds, and than fifty in all, as the system's own bookkeeping comes and goes. The first
/// rounds, in which what is made only once is made, do not count.
template <class Live>
bool LeavesNothingBehind(Live live, std::size_t rounds = 100) {
    constexpr std::uintptr_t valuesPerHandle = 4;
    for (int round = 0; round != 3; ++round)
        live();
    const std::uintptr_t handles = HandleLevel();
    const std::size_t blocks = HeapBlocks();
    for (std::size_t round = 0; round != rounds; ++round)
        live();
    const std::size_t most = rounds / 2 < 50 ? rounds / 2 : 50;
    return HandleLevel() < handles + valuesPerHandle * most && HeapBlocks() < blocks + most;
}
