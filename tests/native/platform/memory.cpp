// Memory in pieces of the system's.
#include <windows.h>

#include <sys/mman.h>

#include <map>
#include <mutex>

namespace {

constexpr std::uintptr_t alignment = 0x10000;
constexpr std::uintptr_t pageSize = 4096;

// The sizes of all pieces, which go by their addresses alone.
struct Pieces {
    std::mutex mutex;
    std::map<void*, std::size_t> sizes;
};

// Never destroyed: threads may outlive the end of `main`.
Pieces& AllPieces() {
    static Pieces& pieces = *new Pieces;
    return pieces;
}

} // namespace

void* VirtualAlloc(void* /*address*/, SIZE_T size, DWORD /*kind*/, DWORD protection) {
    const std::size_t length = (size + pageSize - 1) & ~(pageSize - 1);
    const int access = protection == PAGE_READONLY ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const room = mmap(nullptr, length + alignment, access,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) // NOLINT: the system's macro casts
        return nullptr;
    auto* const begin = static_cast<char*>(room);
    const std::size_t before =
        (alignment - reinterpret_cast<std::uintptr_t>(begin) % alignment) % alignment;
    if (before != 0)
        munmap(begin, before);
    munmap(begin + before + length, alignment - before);
    Pieces& pieces = AllPieces();
    const std::lock_guard guard(pieces.mutex);
    pieces.sizes[begin + before] = length;
    return begin + before;
}

BOOL VirtualFree(void* address, SIZE_T /*size*/, DWORD /*kind*/) {
    Pieces& pieces = AllPieces();
    const std::lock_guard guard(pieces.mutex);
    const auto found = pieces.sizes.find(address);
    if (found == pieces.sizes.end() || munmap(address, found->second) != 0)
        return FALSE;
    pieces.sizes.erase(found);
    return TRUE;
}

SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* information, SIZE_T size) {
    const auto page = reinterpret_cast<std::uintptr_t>(address) & ~(pageSize - 1);
    const bool isMapped = msync(reinterpret_cast<void*>(page), 1, MS_ASYNC) == 0;
    information->State = isMapped ? MEM_COMMIT : MEM_FREE;
    return size;
}
