// Address space set aside.
#pragma once

#include <kq/export.h>
#include <kq/singleton.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>

namespace kq {

class CMemoryReserverImpl;

/// Hands out reservations of address space: reserved, not committed, not accessible. It keeps no
/// record of them: a reservation outlives the reserver, and to release it (`VirtualFree` with
/// `MEM_RELEASE`) is the caller's business. May be used on any threads at once.
class CMemoryReserver {
public:
    /// Both sizes are ignored; nothing is reserved yet. Throws `std::bad_alloc`.
    KQ_API CMemoryReserver(std::uint64_t, std::uint64_t);
    /// Leaves every reservation in place.
    KQ_API ~CMemoryReserver();
    CMemoryReserver(const CMemoryReserver&) = delete;
    CMemoryReserver& operator=(const CMemoryReserver&) = delete;

    /// A new reservation of `size` bytes at the highest free addresses (`VirtualAlloc` with
    /// `MEM_RESERVE`, `MEM_TOP_DOWN` and `PAGE_NOACCESS`), or null when the system refuses.
    KQ_API void* GetReservedMemory(std::uint64_t size) noexcept;

    /// Does nothing: every reservation stays.
    KQ_API void Release() noexcept;

private:
    std::unique_ptr<CMemoryReserverImpl> impl_;
};

/// The process-wide reserver. Empty until the host installs one; emptied when the library is shut
/// down or unloaded.
extern KQ_API Singleton<CMemoryReserver, boost::shared_ptr> memoryReserver;

} // namespace kq
