#include "failures.h"

#include <windows.h>

#include <array>
#include <stdexcept>

// Not inlined: the call stacks are to show who is to blame.
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define KQ_NOINLINE __declspec(noinline)
#else
#define KQ_NOINLINE [[gnu::noinline]]
#endif

namespace crash_lab {
namespace {

volatile int zero = 0;
volatile int result = 0;

volatile int* PageFor(DWORD protection) {
    return static_cast<int*>(VirtualAlloc(nullptr, 0x1000, MEM_RESERVE | MEM_COMMIT, protection));
}

KQ_NOINLINE void ThrowException() { throw std::runtime_error("the document has no pages"); }

KQ_NOINLINE void ThrowForeignException() { throw ForeignError{4711}; }

KQ_NOINLINE void ReadForbiddenMemory() { result = *PageFor(PAGE_NOACCESS); }

KQ_NOINLINE void WriteForbiddenMemory() { *PageFor(PAGE_READONLY) = 1; }

KQ_NOINLINE void ExecuteData() {
    reinterpret_cast<void (*)()>(const_cast<int*>(PageFor(PAGE_READWRITE)))();
    result = 1;
}

KQ_NOINLINE void DivideByZero() { result = 1000 / zero; }

KQ_NOINLINE void ExecuteIllegalInstruction() {
#if defined(_MSC_VER) && !defined(__clang__)
    __ud2();
#else
    __builtin_trap();
#endif
}

KQ_NOINLINE int Descend(int depth) {
    std::array<volatile int, 200> frame{};
    frame[0] = depth;
    return zero == 0 ? Descend(depth + 1) + frame[0] : 0;
}
KQ_NOINLINE void OverflowStack() { result = Descend(0); }

} // namespace

const std::vector<Failure>& AllFailures() {
    static const std::vector<Failure> failures{
        {L"exception", L"throws an exception of the program's own", ThrowException},
        {L"foreign", L"throws an exception that only its library knows", ThrowForeignException},
        {L"read", L"reads memory that may not be read", ReadForbiddenMemory},
        {L"write", L"writes to memory that may only be read", WriteForbiddenMemory},
        {L"execute", L"calls data", ExecuteData},
        {L"divide", L"divides by zero", DivideByZero},
        {L"illegal", L"executes an illegal instruction", ExecuteIllegalInstruction},
        {L"overflow", L"calls itself until the stack overflows", OverflowStack},
    };
    return failures;
}

} // namespace crash_lab
