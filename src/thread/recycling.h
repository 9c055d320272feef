// How objects that come and go in great numbers come by their memory.
#pragma once

#include "thread/block_recycler.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace kq::thread {

/// The recycler for objects of this size.
BlockRecycler& RecyclerFor(std::size_t size) noexcept;

/// Objects up to this size are recycled.
inline constexpr std::size_t largestRecycled = 256;

/// Gives the memory of all recyclers that nobody uses back to the system.
void TrimRecyclers() noexcept;

/// For single objects; made to be given to `std::allocate_shared`.
template <class T>
class RecyclingAllocator {
public:
    using value_type = T;

    RecyclingAllocator() noexcept = default;
    template <class U>
    RecyclingAllocator(const RecyclingAllocator<U>& /*other*/) noexcept {}

    T* allocate(std::size_t /*count*/) { return static_cast<T*>(RecyclerFor(sizeof(T)).Take()); }
    void deallocate(T* object, std::size_t /*count*/) noexcept {
        RecyclerFor(sizeof(T)).Give(object);
    }

    friend bool operator==(const RecyclingAllocator&, const RecyclingAllocator&) { return true; }
    friend bool operator!=(const RecyclingAllocator&, const RecyclingAllocator&) { return false; }

private:
    static_assert(sizeof(T) <= largestRecycled);
};

/// As `std::make_shared`.
template <class T, class... Arguments>
std::shared_ptr<T> MakeRecycled(Arguments&&... arguments) {
    return std::allocate_shared<T>(RecyclingAllocator<T>(), std::forward<Arguments>(arguments)...);
}

/// Base of a class `T` for which `new` takes recycled memory: what a `std::function` holds and has
/// no room for comes by its memory in that way.
template <class T>
struct RecycledByNew {
    static void* operator new(std::size_t /*size*/) { return RecyclerFor(sizeof(T)).Take(); }
    static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { RecyclerFor(sizeof(T)).Give(block); }
    static void operator delete(void* /*block*/, void* /*place*/) noexcept {}
};

} // namespace kq::thread
