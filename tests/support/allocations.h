// Counts what a test program takes from the heap, limits it, and looks at what it gives back. To be
// included by one source of the program: it replaces the global operators. What kq.dll does is seen
// only in programs that hold the library's objects themselves.
#pragma once

#include "support/heap_counts.h"

#include <cstddef>
#include <new>

namespace kq_test {

inline void* CountedNew(std::size_t size) {
    if (void* const memory = CountedMalloc(size))
        return memory;
    throw std::bad_alloc();
}

} // namespace kq_test

// NOLINTBEGIN(misc-definitions-in-headers): one source of a program includes this
void* operator new(std::size_t size) { return kq_test::CountedNew(size); }
void* operator new[](std::size_t size) { return kq_test::CountedNew(size); }
void operator delete(void* memory) noexcept { kq_test::CountedFree(memory); }
void operator delete[](void* memory) noexcept { kq_test::CountedFree(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { kq_test::CountedFree(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    kq_test::CountedFree(memory);
}
// NOLINTEND(misc-definitions-in-headers)
