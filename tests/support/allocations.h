// Counts what a test program takes from the heap, limits it, and looks at what it gives back. To be
// included by one source of the program: it replaces the global operators. What kq.dll does is seen
// only in programs that hold the library's objects themselves.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <thread>

namespace kq_test {

inline std::atomic<std::size_t> allocationCount{0};
inline std::atomic<std::size_t> releaseCount{0};
inline std::atomic<int> allocationsLeft{-1}; // negative: without limit
inline std::atomic<std::thread::id> limitedThread{};
inline void (*whenFreed)(const void* memory) = nullptr;

/// How many allocations there have been, on all threads.
inline std::size_t Allocations() { return allocationCount.load(std::memory_order_relaxed); }

/// How many blocks are in use.
inline std::size_t LiveBlocks() {
    return allocationCount.load(std::memory_order_relaxed) -
           releaseCount.load(std::memory_order_relaxed);
}

/// Lets every allocation of the calling thread throw `std::bad_alloc` while it lives, after so many
/// that succeed. One at a time.
class AllocationLimit {
public:
    explicit AllocationLimit(int limit) {
        limitedThread = std::this_thread::get_id();
        allocationsLeft = limit;
    }
    ~AllocationLimit() { allocationsLeft = -1; }
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;
};

/// Calls `action` with the limits 0, 1, 2 and so on, which it has to set where it wants, until it
/// no longer throws `std::bad_alloc`. Returns how often it did.
template <class Action>
int FailuresUntilEnoughMemory(Action action) {
    for (int limit = 0;; ++limit)
        try {
            action(limit);
            return limit;
        } catch (const std::bad_alloc&) { // one more, then
        }
}

inline void* CountedAllocation(std::size_t size) {
    const int left = allocationsLeft.load(std::memory_order_relaxed);
    if (left >= 0 && limitedThread.load() == std::this_thread::get_id()) {
        if (left == 0)
            throw std::bad_alloc();
        allocationsLeft.store(left - 1, std::memory_order_relaxed);
    }
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size)) // NOLINT: what operator new is made of
        return memory;
    throw std::bad_alloc();
}

inline void WatchedRelease(void* memory) noexcept {
    if (memory != nullptr)
        releaseCount.fetch_add(1, std::memory_order_relaxed);
    if (whenFreed != nullptr && memory != nullptr)
        whenFreed(memory);
    std::free(memory); // NOLINT: what operator delete is made of
}

} // namespace kq_test

// NOLINTBEGIN(misc-definitions-in-headers): one source of a program includes this
void* operator new(std::size_t size) { return kq_test::CountedAllocation(size); }
void* operator new[](std::size_t size) { return kq_test::CountedAllocation(size); }
void operator delete(void* memory) noexcept { kq_test::WatchedRelease(memory); }
void operator delete[](void* memory) noexcept { kq_test::WatchedRelease(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    kq_test::WatchedRelease(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    kq_test::WatchedRelease(memory);
}
// NOLINTEND(misc-definitions-in-headers)
