#include <kq/debug/symbol_handler.h>
#include <kq/debug/track_list.h>

#include "debug/rows.h"
#include "stopwatch.h"
#include "table.h"

#include <cstddef>
#include <cstdint>

namespace bench {

namespace {

const void* Address(std::uint64_t number) { return reinterpret_cast<const void*>(number); }

constexpr std::uint64_t count = 2'000;
constexpr double nanosecondsPerMicrosecond = 1000;

double TakeAndDrop(kq::debug::track_list& tracker, std::uint64_t first) {
    const Stopwatch watch;
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.AddReference(Address(1), Address(number));
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.RemoveReference(Address(1), Address(number));
    return watch.NanosecondsPer(count) / nanosecondsPerMicrosecond;
}

volatile std::size_t frames = 0;

// As deep as the tracker takes the stack.
[[gnu::noinline]] void TakeStack() { frames = kq::debug::symbolHandler->GetCallStack().size(); }
[[gnu::noinline]] void TakeStackBelow() {
    TakeStack();
    frames = frames + 1;
}

double TakeStacks() {
    const Stopwatch watch;
    for (std::uint64_t number = 0; number != count; ++number)
        TakeStackBelow();
    return watch.NanosecondsPer(count) / nanosecondsPerMicrosecond;
}

} // namespace

void References() {
    constexpr std::uint64_t live = 100'000;
    kq::debug::track_list empty;
    kq::debug::track_list full;
    for (std::uint64_t number = 1; number != live + 1; ++number)
        full.AddReference(Address(number % 1'000 + 1), Address(number));
    Row row("A reference taken and dropped in a track_list", "µs");
    row.Enter("kq track_list", [&] { return TakeAndDrop(empty, live + 1); });
    row.Enter("kq track_list, 100,000 living ones", [&] { return TakeAndDrop(full, live + 1); });
    row.EnterPeer("its stack walk alone", TakeStacks);
    row.AimAtMostTimes(1.1);
    Measure({&row}, 9);
    row.Report();
}

} // namespace bench
