#include <kq/thread/memory_reserver.h>

#include <windows.h>

namespace kq {

/// Empty on purpose: reservations are the caller's from the start.
class CMemoryReserverImpl {};

Singleton<CMemoryReserver, boost::shared_ptr> memoryReserver;

CMemoryReserver::CMemoryReserver(std::uint64_t /*unused*/, std::uint64_t /*unused*/)
    : impl_(std::make_unique<CMemoryReserverImpl>()) {}
CMemoryReserver::~CMemoryReserver() = default;

void* CMemoryReserver::GetReservedMemory(std::uint64_t size) noexcept {
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_TOP_DOWN, PAGE_NOACCESS);
}

void CMemoryReserver::Release() noexcept {}

} // namespace kq
