// Which references there are to which objects.
#pragma once

#include "debug/stack_pool.h"

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kq::debug {

/// Living references, each with the object that it refers to and the call stack at which it was
/// taken. A reference is listed for exactly the object that its record names, and an object without
/// references nowhere. By one thread at a time.
class ReferenceTable {
public:
    using Stacks = std::vector<StackPool::SharedStack>;

    /// Records `reference` for `object`, and for no other object. Throws `std::bad_alloc`; the
    /// reference may then be forgotten.
    void Add(const void* object, const void* reference, StackPool::Stack&& stack);

    /// Forgets `reference`, whatever it refers to; does nothing when it is unknown.
    void Remove(const void* reference) noexcept;

    /// The stacks of the references to `object`, in arbitrary order.
    Stacks StacksOf(const void* object) const;
    /// The stacks of all references, object by object, in arbitrary order.
    Stacks AllStacks() const;

    /// How many objects have references.
    std::size_t Objects() const noexcept { return objects_.size(); }

private:
    struct Record {
        const void* object;
        StackPool::SharedStack stack;
    };
    using References = std::unordered_set<const void*>;

    void Append(Stacks& stacks, const References& references) const;

    std::unordered_map<const void*, Record> records_;
    std::unordered_map<const void*, References> objects_;
    StackPool stacks_;
};

} // namespace kq::debug
