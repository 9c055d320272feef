#include "thread/deadline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

using kq::thread::Deadline;
using kq::thread::SaturatedSum;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

// A century, which no sum exceeds.
constexpr std::chrono::hours longest(24 * 365 * 100);

template <class Duration>
Clock::duration Span(Duration duration) {
    const Clock::time_point now = Clock::now();
    return SaturatedSum(now, duration) - now;
}

TEST(SaturatedSum, AddsOrdinaryDurations) {
    EXPECT_EQ(Span(10s), 10s);
    EXPECT_EQ(Span(std::chrono::milliseconds(0xFFFF'FFFF)), std::chrono::milliseconds(0xFFFF'FFFF));
}

TEST(SaturatedSum, NegativeDurationsCountAsNone) {
    EXPECT_EQ(Span(-1s), 0s);
    EXPECT_EQ(Span(std::chrono::duration<int>(std::numeric_limits<int>::min())), 0s);
    EXPECT_EQ(Span(std::chrono::hours::min()), 0s);
    EXPECT_EQ(Span(Clock::duration::min()), 0s);
}

TEST(SaturatedSum, DurationsBeyondTheClockEndInACentury) {
    EXPECT_EQ(Span(std::chrono::hours::max()), longest);
    EXPECT_EQ(Span(std::chrono::milliseconds::max()), longest);
    EXPECT_EQ(Span(Clock::duration::max()), longest);
    EXPECT_EQ(Span(std::chrono::duration<double>(1e300)), longest);
}

TEST(SaturatedSum, TheLongestIdleTimeOfAPoolIsKept) {
    const std::chrono::duration<int> idle(std::numeric_limits<int>::max());
    EXPECT_EQ(Span(idle), idle);
}

TEST(SaturatedSum, FractionsAreRoundedUp) {
    EXPECT_EQ(Span(std::chrono::duration<double, std::nano>(0.25)), 1ns);
}

TEST(Deadline, OneOfNoDurationHasPassed) {
    EXPECT_TRUE(Deadline(0s).HasPassed());
    EXPECT_TRUE(Deadline(-5s).HasPassed());
    EXPECT_EQ(Deadline(-5s).RemainingMilliseconds(), 0U);
}

TEST(Deadline, TheRemainingTimeIsRoundedUp) {
    // A wait of less than a millisecond must not become a busy loop of waits of none.
    const Deadline deadline(Clock::now() + 1h);
    EXPECT_GT(deadline.RemainingMilliseconds(), 3'590'000U);
    EXPECT_LE(deadline.RemainingMilliseconds(), 3'600'000U);
    EXPECT_FALSE(deadline.HasPassed());
}

TEST(Deadline, TheRemainingTimeNeverBecomesThePlatformsForEver) {
    constexpr std::uint32_t forEver = kq::thread::platform::infinite;
    EXPECT_EQ(Deadline(std::chrono::hours::max()).RemainingMilliseconds(), forEver - 1);
    EXPECT_LE(Deadline(std::chrono::milliseconds(forEver)).RemainingMilliseconds(), forEver - 1);
}

} // namespace
