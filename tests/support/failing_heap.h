// A heap that refuses.
#pragma once

namespace kq_test {

/// Lets `count` allocations succeed and the following ones fail, until the end of the scope. For a
/// program that failing_heap.cpp is a part of, which replaces operator new: then for all that is
/// linked into the program, but not for the DLLs. The program has one thread meanwhile.
class FailingHeap {
public:
    explicit FailingHeap(int count);
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

} // namespace kq_test
