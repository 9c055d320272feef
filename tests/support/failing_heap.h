// A heap that refuses. Part of one source file of a program: it replaces operator new, which the
// parts that are linked into the program then use, but not the DLLs.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace kq_test {

/// How many allocations may still be made; negative: no limit. The program has one thread while
/// there is one.
inline int allocationsLeft = -1;

/// Lets `count` allocations succeed and the following ones fail, until the end of the scope.
class FailingHeap {
public:
    explicit FailingHeap(int count) { allocationsLeft = count; }
    ~FailingHeap() { allocationsLeft = -1; }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

} // namespace kq_test

// Not inlined: the compilers would see malloc meet operator delete, and say so.
[[gnu::noinline]] void* operator new(std::size_t size) {
    using kq_test::allocationsLeft;
    if (allocationsLeft == 0)
        throw std::bad_alloc();
    if (allocationsLeft > 0)
        --allocationsLeft;
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
