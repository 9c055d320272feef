#include "debug/touched_modules.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

using kq::debug::TouchedModules;

namespace {

using Bases = std::vector<std::uint64_t>;

TEST(ReportsOfModules, AreTakenOnceInTheirOrder) {
    TouchedModules reports;
    EXPECT_FALSE(reports.HasNews());
    EXPECT_EQ(reports.Take(), Bases());
    reports.Add(7);
    reports.Add(5);
    reports.Add(7);
    EXPECT_TRUE(reports.HasNews());
    EXPECT_EQ(reports.Take(), (Bases{7, 5, 7}));
    EXPECT_FALSE(reports.HasNews());
    EXPECT_EQ(reports.Take(), Bases());
}

TEST(ReportsOfModules, AreNotToldApartWhenTheyAreTooMany) {
    TouchedModules reports;
    for (std::uint64_t base = 0; base != TouchedModules::capacity - 1; ++base)
        reports.Add(base);
    const std::optional<Bases> all = reports.Take();
    ASSERT_TRUE(all);
    EXPECT_EQ(all->size(), TouchedModules::capacity - 1);
    EXPECT_EQ(all->back(), TouchedModules::capacity - 2);
    for (std::uint64_t base = 0; base != 3 * TouchedModules::capacity; ++base)
        reports.Add(base);
    EXPECT_TRUE(reports.HasNews());
    EXPECT_EQ(reports.Take(), std::nullopt);
    EXPECT_FALSE(reports.HasNews());
    reports.Add(4);
    EXPECT_EQ(reports.Take(), Bases{4});
}

// Whatever is taken is what was reported, in order and without a gap, unless it was too much.
TEST(ReportsOfModules, AreNeverMixedUpWhileMoreComeIn) {
    constexpr std::uint64_t count = 200'000;
    const std::uint32_t seed = kq_test::Seed();
    TouchedModules reports;
    std::atomic<bool> isOver{false};
    std::thread reporting([&] {
        kq_test::Random random(seed, 0);
        for (std::uint64_t base = 1; base != count + 1; ++base) {
            reports.Add(base);
            if (random.OneIn(1'000))
                std::this_thread::yield();
        }
        isOver = true;
    });
    std::uint64_t last = 0;
    bool isInStep = true;
    std::size_t wrong = 0;
    std::size_t lost = 0;
    std::size_t taken = 0;
    for (bool wasOver = false; !wasOver;) {
        wasOver = isOver;
        const std::optional<Bases> bases = reports.Take();
        if (!bases) {
            ++lost;
            isInStep = false;
            continue;
        }
        for (const std::uint64_t base : *bases) {
            if (base <= last || (isInStep && base != last + 1))
                ++wrong;
            isInStep = true;
            last = base;
            ++taken;
        }
    }
    reporting.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_FALSE(reports.HasNews());
    std::printf("%zu taken, %zu times too many\n", taken, lost);
}

} // namespace
