// The platform's calls that threads are built from. The only header through which the
// synchronisation, the pool and the queues reach the system.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// In ntdll, and in the documentation of no header.
extern "C" __declspec(dllimport) BOOLEAN NTAPI RtlDllShutdownInProgress(void);

namespace kq::thread::platform {

/// Waits without limit.
inline constexpr std::uint32_t infinite = INFINITE;

/// Waits until `word` is woken, unless it no longer holds `expected`. May wake spuriously; the
/// caller looks at the word again. Returns false when `milliseconds` went by first.
inline bool WaitOnWord(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                       std::uint32_t milliseconds) noexcept {
    return WaitOnAddress(const_cast<std::atomic<std::uint32_t>*>(&word), &expected,
                         sizeof(expected), milliseconds) != FALSE;
}

/// Wakes one thread that waits on `word`. The word itself is not read: it may be gone already.
inline void WakeOne(const std::atomic<std::uint32_t>& word) noexcept {
    WakeByAddressSingle(const_cast<std::atomic<std::uint32_t>*>(&word));
}

/// Wakes every thread that waits on `word`, under the same rule.
inline void WakeAll(const std::atomic<std::uint32_t>& word) noexcept {
    WakeByAddressAll(const_cast<std::atomic<std::uint32_t>*>(&word));
}

/// Gives the rest of the time slice to another thread.
inline void YieldSlice() noexcept { SwitchToThread(); }

/// Tells the processor that this is a spinning loop.
inline void SpinPause() noexcept { YieldProcessor(); }

/// The system's identifier of the calling thread.
inline std::uint32_t CurrentThreadId() noexcept { return GetCurrentThreadId(); }

/// Whether the process is ending, and all other threads have been killed wherever they stood: a
/// lock may be held for ever, and nobody is left to wait for. The code of a host that runs then,
/// such as the destructors of a DLL's objects with static storage, may still come here.
inline bool ProcessIsEnding() noexcept { return RtlDllShutdownInProgress() != FALSE; }

/// The system gives memory in pieces of this size, aligned to it.
inline constexpr std::size_t memoryPiece = 0x10000;

/// A piece of memory, null when there is none.
inline void* AllocatePiece() noexcept {
    return VirtualAlloc(nullptr, memoryPiece, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

/// Gives a piece back.
inline void FreePiece(void* piece) noexcept { VirtualFree(piece, 0, MEM_RELEASE); }

} // namespace kq::thread::platform
