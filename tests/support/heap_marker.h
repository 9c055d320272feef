// Finding what was left in memory.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace kq_test {

/// Eight random bytes with which a test fills what should leave no trace, to count later how often
/// they stand in the heap. The marker keeps them masked, so that it does not find itself.
class HeapMarker {
public:
    static constexpr std::size_t size = sizeof(std::uint64_t);

    HeapMarker() {
        std::random_device source;
        masked_ = (std::uint64_t{source()} << 32 | source()) ^ mask;
    }

    /// So many markers in a row, in memory of exactly that size.
    std::vector<unsigned char> Repeated(std::size_t count) const {
        std::vector<unsigned char> bytes(count * size);
        const std::uint64_t value = masked_ ^ mask;
        for (std::size_t i = 0; i != count; ++i)
            std::memcpy(bytes.data() + i * size, &value, size);
        return bytes;
    }

    /// How often the marker stands in the memory of all heaps of the process, be it in use or freed
    /// and not yet given back to the system.
    std::size_t CountInHeap() const {
        const std::vector<const void*> heap = HeapAllocations();
        std::size_t count = 0;
        MEMORY_BASIC_INFORMATION region{};
        const char* place = nullptr;
        while (VirtualQuery(place, &region, sizeof(region)) == sizeof(region)) {
            if (region.State == MEM_COMMIT && region.Protect == PAGE_READWRITE &&
                std::find(heap.begin(), heap.end(), region.AllocationBase) != heap.end())
                count += CountIn(region.BaseAddress, region.RegionSize);
            place = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
        }
        return count;
    }

    /// How often the marker stands in that memory.
    std::size_t CountIn(const void* memory, std::size_t length) const {
        const auto* const bytes = static_cast<const unsigned char*>(memory);
        std::size_t count = 0;
        std::uint64_t word = 0;
        for (std::size_t place = 0; place + size <= length; ++place) {
            std::memcpy(&word, bytes + place, size);
            if ((word ^ mask) == masked_)
                ++count;
        }
        return count;
    }

private:
    static constexpr std::uint64_t mask = 0xA5A5'A5A5'A5A5'A5A5;

    /// What the heaps consist of, as the bases of allocations from the system. Other memory does
    /// not count: stacks and saved registers may hold the marker because of the search itself.
    static std::vector<const void*> HeapAllocations() {
        std::vector<const void*> bases;
        bases.reserve(1024); // the heap must not change on the way
        std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
        heaps.resize(std::min<std::size_t>(
            heaps.size(), GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data())));
        for (const HANDLE heap : heaps) {
            HeapLock(heap);
            PROCESS_HEAP_ENTRY entry{};
            while (HeapWalk(heap, &entry)) {
                MEMORY_BASIC_INFORMATION region{};
                VirtualQuery(entry.lpData, &region, sizeof(region));
                if (std::find(bases.begin(), bases.end(), region.AllocationBase) == bases.end())
                    bases.push_back(region.AllocationBase);
            }
            HeapUnlock(heap);
        }
        return bases;
    }

    std::uint64_t masked_;
};

} // namespace kq_test
