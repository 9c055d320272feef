#include "debug/stack_pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>

using kq::debug::StackPool;

namespace {

StackPool::Stack At(std::initializer_list<std::uint64_t> addresses) {
    StackPool::Stack stack;
    for (const std::uint64_t address : addresses)
        stack.emplace_back(address);
    return stack;
}

TEST(Stacks, ThatAreEqualAreKeptOnce) {
    StackPool pool;
    const auto first = pool.Acquire(At({1, 2, 3}));
    const auto second = pool.Acquire(At({1, 2, 3}));
    EXPECT_EQ(first, second);
    EXPECT_EQ(pool.Size(), 1u);
}

TEST(Stacks, ThatDifferAreToldApart) {
    StackPool pool;
    StackPool::Stack plain = At({1});
    const auto first = pool.Acquire(At({1}));
    plain[0].symbolName = "name";
    EXPECT_NE(pool.Acquire(StackPool::Stack(plain)), first);
    plain[0].moduleName = L"module";
    pool.Acquire(StackPool::Stack(plain));
    plain[0].fileName = "file";
    pool.Acquire(StackPool::Stack(plain));
    plain[0].lineNumber = 1;
    pool.Acquire(StackPool::Stack(plain));
    plain[0].lineDisplacement = 1;
    pool.Acquire(StackPool::Stack(plain));
    pool.Acquire(At({2}));
    pool.Acquire(At({1, 1}));
    pool.Acquire(At({}));
    EXPECT_EQ(pool.Size(), 9u);
}

TEST(Stacks, AreKeptUntilTheirLastUseEnds) {
    StackPool pool;
    const auto stack = pool.Acquire(At({1}));
    pool.Acquire(At({1}));
    pool.Release(stack);
    EXPECT_EQ(pool.Size(), 1u);
    pool.Release(stack);
    EXPECT_EQ(pool.Size(), 0u);
    ASSERT_EQ(stack->size(), 1u);
    EXPECT_EQ(stack->front().address, 1u);
    EXPECT_NE(pool.Acquire(At({1})), stack);
}

} // namespace
