// Where an operation stands in the table of virtual functions, by which binaries find it.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

// With the other compilers a pointer to a virtual function does not tell its slot.
#ifndef _MSC_VER

namespace kq_test {

/// The slot of a virtual function, read off its member pointer. A virtual destructor takes two
/// slots (one that also frees the memory, and one that does not).
template <class Function>
std::size_t SlotOf(Function function) {
    std::uintptr_t word = 0;
    std::memcpy(&word, &function, sizeof(word));
    EXPECT_EQ(word % sizeof(void*), 1u) << "not a virtual function";
    return word / sizeof(void*);
}

} // namespace kq_test

#endif
