#include <kq/debug/track_list.h>

#include "debug/rows.h"
#include "stopwatch.h"
#include "table.h"

#include <cstdint>

namespace bench {

namespace {

const void* Address(std::uint64_t number) { return reinterpret_cast<const void*>(number); }

double TakeAndDrop(kq::debug::track_list& tracker, std::uint64_t first) {
    constexpr std::uint64_t count = 2'000;
    constexpr double nanosecondsPerMicrosecond = 1000;
    const Stopwatch watch;
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.AddReference(Address(1), Address(number));
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.RemoveReference(Address(1), Address(number));
    return watch.NanosecondsPer(count) / nanosecondsPerMicrosecond;
}

} // namespace

void References() {
    constexpr std::uint64_t live = 100'000;
    kq::debug::track_list empty;
    kq::debug::track_list full;
    for (std::uint64_t number = 1; number != live + 1; ++number)
        full.AddReference(Address(number % 1'000 + 1), Address(number));
    Row row("A reference taken and dropped", "us");
    row.Enter("in an empty tracker", [&] { return TakeAndDrop(empty, live + 1); });
    row.Enter("among 100,000 living ones", [&] { return TakeAndDrop(full, live + 1); });
    Measure({&row});
    row.Print();
}

} // namespace bench
