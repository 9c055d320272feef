#include <kq/debug/memory_leak_detection.h>

#include "support/heap_level.h"

#include <gtest/gtest.h>

#include <cstddef>

using kq::debug::MemoryLeakDetection;

namespace {

TEST(MemoryLeakDetectionScope, HasNoEffect) {
    const std::size_t before = HeapLevel();
    {
        MemoryLeakDetection scope;
        MemoryLeakDetection other(scope);
        other = scope;
        EXPECT_EQ(HeapLevel(), before);
    }
    EXPECT_EQ(HeapLevel(), before);
}

} // namespace
