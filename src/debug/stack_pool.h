// Call stacks of which many are the same.
#pragma once

#include <kq/debug/call_stack.h>

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace kq::debug {

/// Keeps equal call stacks once, as long as somebody uses them. By one thread at a time.
class StackPool {
public:
    using Stack = std::vector<CallStackEntry>;
    using SharedStack = std::shared_ptr<const Stack>;

    /// The one that is kept of all stacks equal to `stack`, used once more than before.
    SharedStack Acquire(Stack&& stack);

    /// Counts one use less of a stack that `Acquire` returned. It is not kept after the last use;
    /// who still shares it may go on reading it.
    void Release(const SharedStack& stack) noexcept;

    /// How many different stacks are kept.
    std::size_t Size() const noexcept { return uses_.size(); }

private:
    struct Hash {
        std::size_t operator()(const SharedStack& stack) const noexcept;
    };
    struct Equal {
        bool operator()(const SharedStack& left, const SharedStack& right) const noexcept;
    };

    std::unordered_map<SharedStack, std::size_t, Hash, Equal> uses_;
};

} // namespace kq::debug
