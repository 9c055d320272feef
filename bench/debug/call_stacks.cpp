#include <kq/debug/symbol_handler.h>

#include "debug/many_modules.h"
#include "debug/rows.h"
#include "debug/walk_loop.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <cstddef>
#include <string>
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

constexpr std::size_t copyingLoop = 1;

/// The frames below those of the row are the same for all: those of the program's start.
void EnterAll(Row& row, std::size_t depth, std::size_t count) {
    row.Enter("kq::debug::SymbolHandler::GetCallStack",
              [=] { return Below(depth, 10 * count, OfKq); });
    row.Enter("StackWalk64 loop, copying reader",
              [=] { return Below(depth, count, OfTheCopyingLoop); });
    // Takes a hundred times as long: fewer are enough.
    row.Enter("StackWalk64 loop, default reader",
              [=] { return Below(depth, count / 100 + 1, OfTheDefaultLoop); });
}

void PrintGoal(const Row& row, const std::string& what) {
    PrintFigure(what, Ratio(row.CostOf(0), row.CostOf(copyingLoop)).Median(),
                "goal: at most 1.2 times the copying loop");
}

} // namespace

void ShortStacks() {
    constexpr std::size_t count = 200;
    constexpr std::size_t modules = 50;
    // With those of the program's start, ten or a few more.
    constexpr std::size_t depth = 4;
    Row few("A short stack, few modules", "us");
    EnterAll(few, depth, count);
    Measure({&few});
    few.Print();
    PrintGoal(few, "few modules");

    const ManyModules loaded(modules);
    OfKq(); // they become known, also to the loops
    Row many("A short stack, 50 more modules", "us");
    EnterAll(many, depth, count);
    Measure({&many});
    many.Print();
    PrintGoal(many, "50 more modules");
}

void DeepStacks() {
    constexpr std::size_t depth = 1'000;
    constexpr std::size_t count = 5;
    Row row("A stack of 1,000 frames", "us");
    EnterAll(row, depth, count);
    Measure({&row}, 3);
    row.Print();
    PrintGoal(row, "1,000 frames");
}

void StacksAfterALoad() {
    Row row("The first stack after a library was loaded, and the second", "us");
    const auto load = [](std::size_t stacksBefore) {
        const ManyModules loaded(1);
        for (std::size_t stack = 0; stack != stacksBefore; ++stack)
            OfKq();
        return Below(0, 1, OfKq);
    };
    row.Enter("the first", [=] { return load(0); });
    row.Enter("the second", [=] { return load(1); });
    Measure({&row}, 10);
    row.Print();
}

} // namespace bench
