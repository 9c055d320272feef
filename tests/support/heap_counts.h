// What a test program has taken from the heap and given back, and how much it may still take.
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

// The memory below is what operator new is made of, and malloc for those who use it.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)

/// Null when there is none, or none is allowed.
inline void* CountedMalloc(std::size_t size) noexcept {
    const int left = allocationsLeft.load(std::memory_order_relaxed);
    if (left >= 0 && limitedThread.load() == std::this_thread::get_id()) {
        if (left == 0)
            return nullptr;
        allocationsLeft.store(left - 1, std::memory_order_relaxed);
    }
    void* const memory = std::malloc(size);
    if (memory != nullptr)
        allocationCount.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

inline void CountedFree(void* memory) noexcept {
    if (memory == nullptr)
        return;
    releaseCount.fetch_add(1, std::memory_order_relaxed);
    if (whenFreed != nullptr)
        whenFreed(memory);
    std::free(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc)

} // namespace kq_test
