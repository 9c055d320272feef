#include "process/fault_kinds.h"

#include <windows.h>

#include <array>
#include <cstring>
#include <stdexcept>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define KQ_NOINLINE __declspec(noinline)
#else
#define KQ_NOINLINE [[gnu::noinline]]
#endif

namespace {

volatile int zero = 0;
volatile int sink = 0;

// A page that may be used as `protection` says.
volatile int* Page(DWORD protection) {
    return static_cast<int*>(VirtualAlloc(nullptr, 0x1000, MEM_RESERVE | MEM_COMMIT, protection));
}

KQ_NOINLINE void Read() { sink = *Page(PAGE_NOACCESS); }
KQ_NOINLINE void Write() { *Page(PAGE_READONLY) = 1; }

KQ_NOINLINE void Execute() {
    reinterpret_cast<void (*)()>(const_cast<int*>(Page(PAGE_READWRITE)))();
    sink = 1;
}

KQ_NOINLINE int Descend(int depth) {
    std::array<volatile int, 200> frame{};
    frame[0] = depth;
    return zero == 0 ? Descend(depth + 1) + frame[0] : 0;
}
KQ_NOINLINE void OverflowStack() { sink = Descend(0); }

KQ_NOINLINE void Divide() { sink = 1000 / zero; }

KQ_NOINLINE void RunIllegalInstruction() {
#if defined(_MSC_VER) && !defined(__clang__)
    __ud2();
#else
    __builtin_trap();
#endif
}

KQ_NOINLINE void Throw() { throw std::runtime_error("nobody catches this"); }

struct Kind {
    const char* name;
    Fault fault;
};
constexpr std::array<Kind, 7> kinds{{{"read", Read},
                                     {"write", Write},
                                     {"execute", Execute},
                                     {"stack_overflow", OverflowStack},
                                     {"division", Divide},
                                     {"instruction", RunIllegalInstruction},
                                     {"cpp_exception", Throw}}};

} // namespace

Fault FindFault(const char* name) {
    for (const Kind& kind : kinds)
        if (std::strcmp(kind.name, name) == 0)
            return kind.fault;
    return nullptr;
}
