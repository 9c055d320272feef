#include "debug/reference_table.h"

#include <gtest/gtest.h>

#include <cstdint>

using kq::debug::CallStackEntry;
using kq::debug::ReferenceTable;
using kq::debug::StackPool;

namespace {

class TableOfReferences : public testing::Test {
protected:
    static const void* At(std::uintptr_t number) {
        return reinterpret_cast<const void*>(number); // only compared
    }
    static StackPool::Stack Stack(std::uint64_t address) {
        return StackPool::Stack{CallStackEntry(address)};
    }

    std::uint64_t OnlyStackOf(std::uintptr_t object) const {
        const ReferenceTable::Stacks stacks = table.StacksOf(At(object));
        return stacks.size() == 1 ? stacks.front()->front().address : 0;
    }

    ReferenceTable table;
};

TEST_F(TableOfReferences, DropsAnObjectWithItsLastReference) {
    table.Add(At(1), At(10), Stack(100));
    table.Add(At(1), At(11), Stack(101));
    EXPECT_EQ(table.Objects(), 1u);
    table.Remove(At(10));
    EXPECT_EQ(table.Objects(), 1u);
    EXPECT_EQ(OnlyStackOf(1), 101u);
    table.Remove(At(11));
    EXPECT_EQ(table.Objects(), 0u);
    EXPECT_TRUE(table.StacksOf(At(1)).empty());
    EXPECT_TRUE(table.AllStacks().empty());
}

TEST_F(TableOfReferences, DropsAnObjectWhoseLastReferenceMovesOn) {
    table.Add(At(1), At(10), Stack(100));
    table.Add(At(2), At(10), Stack(101));
    EXPECT_EQ(table.Objects(), 1u);
    EXPECT_TRUE(table.StacksOf(At(1)).empty());
    EXPECT_EQ(OnlyStackOf(2), 101u);
    EXPECT_EQ(table.AllStacks().size(), 1u);
}

TEST_F(TableOfReferences, ReplacesTheStackOfAReferenceTakenAgain) {
    table.Add(At(1), At(10), Stack(100));
    table.Add(At(1), At(10), Stack(101));
    EXPECT_EQ(OnlyStackOf(1), 101u);
}

TEST_F(TableOfReferences, IgnoresUnknownReferences) {
    table.Remove(At(10));
    table.Add(At(1), At(10), Stack(100));
    table.Remove(At(11));
    EXPECT_EQ(OnlyStackOf(1), 100u);
}

TEST_F(TableOfReferences, HandsOutStacksThatLast) {
    table.Add(At(1), At(10), Stack(100));
    const ReferenceTable::Stacks stacks = table.AllStacks();
    table.Remove(At(10));
    ASSERT_EQ(stacks.size(), 1u);
    EXPECT_EQ(stacks.front()->front().address, 100u);
}

} // namespace
