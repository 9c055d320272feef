#include "debug/stack_pool.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kq::debug {

namespace {

// One address may have had more than one name: libraries come and go.
bool IsSame(const CallStackEntry& left, const CallStackEntry& right) noexcept {
    return left.address == right.address && left.lineNumber == right.lineNumber &&
           left.lineDisplacement == right.lineDisplacement && left.symbolName == right.symbolName &&
           left.moduleName == right.moduleName && left.fileName == right.fileName;
}

} // namespace

std::size_t StackPool::Hash::operator()(const SharedStack& stack) const noexcept {
    constexpr std::uint64_t offset = 0xcbf2'9ce4'8422'2325;
    constexpr std::uint64_t prime = 0x100'0000'01b3;
    std::uint64_t hash = offset;
    for (const CallStackEntry& entry : *stack)
        hash = (hash ^ entry.address) * prime;
    return hash;
}

bool StackPool::Equal::operator()(const SharedStack& left,
                                  const SharedStack& right) const noexcept {
    return left == right ||
           std::equal(left->begin(), left->end(), right->begin(), right->end(), IsSame);
}

StackPool::SharedStack StackPool::Acquire(Stack&& stack) {
    const auto kept = uses_.emplace(std::make_shared<const Stack>(std::move(stack)), 0).first;
    ++kept->second;
    return kept->first;
}

void StackPool::Release(const SharedStack& stack) noexcept {
    const auto kept = uses_.find(stack);
    if (--kept->second == 0)
        uses_.erase(kept);
}

} // namespace kq::debug
