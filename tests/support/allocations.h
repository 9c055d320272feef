// Counts what a test program takes from the heap. To be included by one source of the program: it
// replaces the global operators. What DLLs take is not counted: so the program has to hold the
// library's objects itself, and the characters of strings, which the run-time library's DLL
// allocates, are not seen.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what the replaced operators stand on
// NOLINTBEGIN(misc-definitions-in-headers): they cannot be inline
namespace kq_test {

inline std::atomic<std::size_t> allocationCount{0};

/// How many allocations there have been, on all threads.
inline std::size_t Allocations() { return allocationCount.load(std::memory_order_relaxed); }

inline void* CountedAllocation(std::size_t size) {
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

} // namespace kq_test

void* operator new(std::size_t size) { return kq_test::CountedAllocation(size); }
void* operator new[](std::size_t size) { return kq_test::CountedAllocation(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
// NOLINTEND(misc-definitions-in-headers)
// NOLINTEND(cppcoreguidelines-no-malloc)
