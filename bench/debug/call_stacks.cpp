#include <kq/debug/symbol_handler.h>

#include "debug/fresh_stacks.h"
#include "debug/many_modules.h"
#include "debug/rows.h"
#include "debug/walk_loop.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <windows.h>

#include <dbghelp.h>

#include <cstddef>
#include <vector>

namespace bench {

namespace {

using Stack = std::vector<kq::debug::CallStackEntry>;

constexpr double nanosecondsPerMicrosecond = 1000;

volatile int sink = 0;

Stack OfKq() { return kq::debug::symbolHandler->GetCallStack(); }
Stack OfTheDefaultLoop() { return WalkLoop(MemoryReader::Default); }
Stack OfTheCopyingLoop() { return WalkLoop(MemoryReader::Copying); }

/// The cost of one stack out of `count` in microseconds, below `depth` frames more.
[[gnu::noinline]] double Below(std::size_t depth, std::size_t count, Stack (*capture)());

[[gnu::noinline]] double BelowAnother(std::size_t depth, std::size_t count, Stack (*capture)()) {
    const double cost = Below(depth, count, capture);
    sink = sink + 1;
    return cost;
}

double Below(std::size_t depth, std::size_t count, Stack (*capture)()) {
    if (depth > 1) {
        const double cost = BelowAnother(depth - 2, count, capture);
        sink = sink + 2;
        return cost;
    }
    const Stopwatch watch;
    for (std::size_t number = 0; number != count; ++number)
        Require(capture().size() > depth, "a stack has all its frames");
    return watch.NanosecondsPer(count) / nanosecondsPerMicrosecond;
}

constexpr const char* kqName = "kq GetCallStack";
constexpr const char* copyingName = "StackWalk64 loop, copying reader";
constexpr const char* defaultName = "StackWalk64 loop, default reader";
constexpr const char* addressesName = "addresses alone, RtlCaptureStackBackTrace";

/// The frames below those of the row are the same for all: those of the program's start.
void EnterAll(Row& row, std::size_t depth, std::size_t count) {
    row.Enter(kqName, [=] { return Below(depth, 10 * count, OfKq); });
    row.EnterPeer(copyingName, [=] { return Below(depth, count, OfTheCopyingLoop); });
    // Takes a hundred times as long: fewer are enough.
    row.EnterPeer(defaultName, [=] { return Below(depth, count / 100 + 1, OfTheDefaultLoop); });
}

void CaptureAddresses() {
    constexpr ULONG most = 62;
    void* addresses[most] = {};
    Require(RtlCaptureStackBackTrace(0, most, addresses, nullptr) > 0, "captured addresses");
}

/// A symbol state of its own for this process, opened again and again.
class ReopenedSymbols {
public:
    ReopenedSymbols() {
        const HANDLE self = GetCurrentProcess();
        DuplicateHandle(self, self, self, &process_, 0, FALSE, DUPLICATE_SAME_ACCESS);
        Open();
    }
    ~ReopenedSymbols() {
        SymCleanup(process_);
        CloseHandle(process_);
    }
    ReopenedSymbols(const ReopenedSymbols&) = delete;
    ReopenedSymbols& operator=(const ReopenedSymbols&) = delete;

    void Reopen() {
        SymCleanup(process_);
        Open();
    }

private:
    void Open() {
        Require(SymInitialize(process_, nullptr, TRUE) != FALSE, "symbols are opened");
        alignas(SYMBOL_INFO) char buffer[sizeof(SYMBOL_INFO) + 256] = {};
        auto* const symbol = reinterpret_cast<SYMBOL_INFO*>(buffer);
        symbol->SizeOfStruct = sizeof(SYMBOL_INFO);
        symbol->MaxNameLen = 256;
        DWORD64 displacement = 0;
        Require(SymFromAddr(process_, reinterpret_cast<DWORD64>(&CaptureAddresses), &displacement,
                            symbol) != FALSE,
                "a symbol is found");
    }

    HANDLE process_ = nullptr;
};

} // namespace

void FreshStacks() {
    // Ten frames with those of the program's start and of the library.
    constexpr int depth = 4;
    constexpr int count = 20;
    Row first("GetCallStack of 10 frames, for the first time", "µs");
    Row known("GetCallStack of 10 frames that are known", "µs");
    struct Contestant {
        void (*capture)() = nullptr;
        Series first{};
        Series known{};
    };
    Contestant kq{[] { OfKq(); }};
    Contestant copying{[] { OfTheCopyingLoop(); }};
    Contestant defaults{[] { OfTheDefaultLoop(); }};
    Contestant addresses{CaptureAddresses};
    OfKq(); // opens the symbols and knows the frames of the program's start
    for (const auto& place : freshPlaces<depth, count>)
        for (Contestant* const contestant : {&kq, &copying, &defaults, &addresses}) {
            const FirstAndSecond cost = place(contestant->capture);
            contestant->first.Add(cost.first / nanosecondsPerMicrosecond);
            contestant->known.Add(cost.second / nanosecondsPerMicrosecond);
        }
    const auto report = [&](Row& row, Series Contestant::*cost, double bound) {
        row.EnterResult(kqName, kq.*cost);
        row.EnterPeerResult(copyingName, copying.*cost);
        row.EnterPeerResult(defaultName, defaults.*cost);
        row.EnterLimitResult(addressesName, addresses.*cost);
        row.AimAtMost(bound);
        row.Report();
    };
    report(first, &Contestant::first, 50);
    report(known, &Contestant::known, 10);
}

void StacksAmongManyModules() {
    constexpr std::size_t count = 100;
    constexpr std::size_t modules = 50;
    constexpr std::size_t depth = 4;
    const ManyModules loaded(modules);
    OfKq(); // they become known, also to the loops
    Row row("GetCallStack of 10 known frames, 50 more modules", "µs");
    EnterAll(row, depth, count);
    row.AimAtMost(10);
    Measure({&row});
    row.Report();
}

void DeepStacks() {
    constexpr std::size_t depth = 1'000;
    constexpr std::size_t count = 5;
    Row row("GetCallStack of 1,000 frames", "µs");
    EnterAll(row, depth, count);
    row.AimAtMostTimes(0.2);
    Measure({&row}, 3);
    row.Report();
}

void StacksAfterALoad() {
    Row row("The first stack after a library was loaded", "µs");
    row.Enter(kqName, [] {
        const ManyModules loaded(1);
        return Below(0, 1, OfKq);
    });
    ReopenedSymbols symbols;
    row.EnterPeer("closing and reopening the symbols", [&symbols] {
        const Stopwatch watch;
        symbols.Reopen();
        return watch.Nanoseconds() / nanosecondsPerMicrosecond;
    });
    row.AimAtMostTimes(0.2);
    Measure({&row}, 10);
    row.Report();
}

} // namespace bench
