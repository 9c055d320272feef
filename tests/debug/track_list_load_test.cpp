#include <kq/debug/track_list.h>

#include "support/debugger_output.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <map>
#include <thread>
#include <vector>

using kq::debug::track_list;
using kq_test::DebuggerOutput;

namespace {

const void* Address(std::uint64_t number) { return reinterpret_cast<const void*>(number); }

/// Takes the references from `first` on, `count` of them, and drops them again.
void AddAndRemove(track_list& tracker, std::uint64_t first, std::uint64_t count) {
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.AddReference(Address(number % 100 + 1), Address(number));
    for (std::uint64_t number = first; number != first + count; ++number)
        tracker.RemoveReference(Address(number % 100 + 1), Address(number));
}

/// Seconds for it, when nothing else disturbed.
double SecondsToAddAndRemove(track_list& tracker, std::uint64_t first, std::uint64_t count) {
    constexpr int attempts = 5;
    double best = std::numeric_limits<double>::max();
    for (int attempt = 0; attempt != attempts; ++attempt) {
        const auto start = std::chrono::steady_clock::now();
        AddAndRemove(tracker, first, count);
        const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
        best = std::min(best, duration.count());
    }
    return best;
}

TEST(TrackListLoad, IsNoSlowerWithAHundredThousandReferences) {
    constexpr std::uint64_t live = 100'000;
    constexpr std::uint64_t sample = 2'000;
    track_list tracker;
    const double whenEmpty = SecondsToAddAndRemove(tracker, 1, sample);
    for (std::uint64_t number = 1; number != live + 1; ++number)
        tracker.AddReference(Address(number % 1'000 + 1), Address(number));
    const double whenFull = SecondsToAddAndRemove(tracker, live + 1, sample);
    // A pass over the table each time would cost thousands of times as much.
    EXPECT_LT(whenFull, 20 * whenEmpty);
    std::printf("%.1f us each when empty, %.1f us with %d references\n", whenEmpty * 1e6 / sample,
                whenFull * 1e6 / sample, static_cast<int>(live));
    for (std::uint64_t number = 1; number != live + 1; ++number)
        tracker.RemoveReference(Address(number % 1'000 + 1), Address(number));
    const DebuggerOutput output;
    tracker.DumpAll();
    EXPECT_TRUE(output.Messages().empty());
}

// Every thread owns the references that it takes and drops, at random, and knows what has to be
// left; the objects are everybody's, and dumps go on all the time.
TEST(TrackListLoad, KeepsEveryReferenceWhereItBelongsAmongThreads) {
    constexpr std::uint32_t threadCount = 4;
    constexpr std::uint32_t objectCount = 7;
    constexpr std::uint32_t referenceCount = 50;
    constexpr int steps = 3'000;
    const std::uint32_t seed = kq_test::Seed();
    track_list tracker;
    std::vector<std::map<std::uint32_t, std::uint32_t>> left(threadCount);
    std::vector<std::thread> threads;
    DebuggerOutput output;
    for (std::uint32_t number = 0; number != threadCount; ++number)
        threads.emplace_back([&, number] {
            kq_test::Random random(seed, number);
            auto& mine = left[number];
            for (int step = 0; step != steps; ++step) {
                const std::uint32_t reference =
                    random.Below(referenceCount) + number * referenceCount + 1'000;
                const std::uint32_t object = random.Below(objectCount) + 1;
                switch (random.Below(4)) {
                    case 0:
                        tracker.AddReference(Address(object), Address(reference));
                        mine[reference] = object;
                        break;
                    case 1:
                        tracker.RemoveReference(Address(object), Address(reference));
                        mine.erase(reference);
                        break;
                    case 2:
                        tracker.ResetReference(Address(random.Below(objectCount) + 1),
                                               Address(object), Address(reference));
                        mine[reference] = object;
                        break;
                    default:
                        if (random.OneIn(20))
                            tracker.Dump(Address(object));
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (std::uint32_t object = 1; object != objectCount + 1; ++object) {
        std::size_t expected = 0;
        for (const auto& mine : left)
            for (const auto& [reference, owner] : mine)
                expected += owner == object ? 1 : 0;
        output.Take();
        tracker.Dump(Address(object));
        EXPECT_EQ(output.Take().size(), expected) << object;
    }
}

} // namespace
