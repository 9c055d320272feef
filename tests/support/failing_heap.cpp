#include "support/failing_heap.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace kq_test {

namespace {

constexpr int noLimit = -1;
int allocationsLeft = noLimit;

} // namespace

FailingHeap::FailingHeap(int count) { allocationsLeft = count; }
FailingHeap::~FailingHeap() { allocationsLeft = noLimit; }

// The memory below is what operator new and operator delete are made of.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)

static void* Allocate(std::size_t size) {
    if (allocationsLeft == 0)
        throw std::bad_alloc();
    if (allocationsLeft > 0)
        --allocationsLeft;
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

} // namespace kq_test

void* operator new(std::size_t size) { return kq_test::Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

// NOLINTEND(cppcoreguidelines-no-malloc)
