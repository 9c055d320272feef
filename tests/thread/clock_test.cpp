// The clock that the library itself uses.
#include "thread/clock.h"

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <type_traits>

using kq::thread::Clock;
using kq::thread::condition_variable;
using kq::thread::mutex;
using kq::thread::SteadyClock;
using namespace std::chrono_literals;

namespace {

/// Waits as the library does: looks at the clock again whenever a wait has ended.
void WaitToTheEnd(Clock::TimePoint deadline) {
    mutex guarding;
    condition_variable never;
    const kq::thread::lock_guard guard(guarding);
    while (SteadyClock().Now() < deadline)
        SteadyClock().WaitUntil(never, guarding, deadline);
    EXPECT_FALSE(guarding.try_lock());
}

TEST(SteadyClock, IsThatOfTheStandardLibrary) {
    for (int round = 0; round != 1'000; ++round) {
        const auto before = std::chrono::steady_clock::now();
        const auto now = SteadyClock().Now();
        EXPECT_LE(before, now);
        EXPECT_LE(now, std::chrono::steady_clock::now());
    }
}

TEST(SteadyClock, IsOneObjectThatNeedsNoDestruction) {
    EXPECT_EQ(&SteadyClock(), &SteadyClock());
    static_assert(!std::has_virtual_destructor_v<Clock>);
}

TEST(SteadyClock, AWaitEndsWithItsDeadline) {
    for (const auto duration : {0ns, 1ns, 999'999ns, 1'000'001ns, 20'000'000ns}) {
        const auto begin = std::chrono::steady_clock::now();
        kq_test::ReturnsInTime("a wait with a deadline", [&] { WaitToTheEnd(begin + duration); });
        EXPECT_GE(std::chrono::steady_clock::now() - begin, duration);
    }
}

TEST(SteadyClock, AWaitForADeadlineThatHasPassedReturns) {
    kq_test::ReturnsInTime("a wait that is over already", [] {
        mutex guarding;
        condition_variable never;
        const kq::thread::lock_guard guard(guarding);
        SteadyClock().WaitUntil(never, guarding, Clock::TimePoint());
        EXPECT_FALSE(guarding.try_lock());
    });
}

TEST(SteadyClock, ANotificationEndsAWaitWhoseDeadlineIsFar) {
    mutex guarding;
    condition_variable changed;
    bool hasBegun = false;
    bool isSet = false;
    kq_test::ReturnsInTime("a notified wait", [&] {
        std::thread setter([&] {
            for (;;) {
                const kq::thread::lock_guard guard(guarding);
                if (hasBegun)
                    break;
            }
            {
                const kq::thread::lock_guard guard(guarding);
                isSet = true;
            }
            changed.notify_one();
        });
        {
            const kq::thread::lock_guard guard(guarding);
            hasBegun = true;
            while (!isSet)
                SteadyClock().WaitUntil(changed, guarding, SteadyClock().Now() + 24h * 365);
        }
        setter.join();
    });
}

} // namespace
