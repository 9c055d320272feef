#include "thread/condition_variable.h"

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

using kq::thread::condition_variable;
using kq::thread::Deadline;
using kq::thread::mutex;
using kq_test::ReturnsInTime;

namespace {

TEST(ConditionVariable, IsEightBytesThatNeedNoDestruction) {
    static_assert(sizeof(condition_variable) == 8);
    static_assert(std::is_trivially_destructible_v<condition_variable>);
    SUCCEED();
}

TEST(ConditionVariable, AWaitUntilAPassedDeadlineReturns) {
    mutex guarding;
    condition_variable changed;
    ReturnsInTime("a wait that is over already", [&] {
        const kq::thread::lock_guard guard(guarding);
        changed.wait_until(guarding, Deadline(std::chrono::seconds(-1)));
        EXPECT_FALSE(guarding.try_lock());
    });
}

TEST(ConditionVariable, ANotificationEndsAWaitWithoutEnd) {
    mutex guarding;
    condition_variable changed;
    bool isSet = false;
    ReturnsInTime("a notified wait", [&] {
        std::thread setter([&] {
            {
                const kq::thread::lock_guard guard(guarding);
                isSet = true;
            }
            changed.notify_one();
        });
        {
            const kq::thread::lock_guard guard(guarding);
            while (!isSet)
                changed.wait_until(guarding, Deadline(std::chrono::hours::max()));
        }
        setter.join();
    });
}

TEST(ConditionVariable, NotifyAllEndsEveryWait) {
    mutex guarding;
    condition_variable changed;
    int waiting = 0;
    bool isOpen = false;
    ReturnsInTime("waits that were all notified", [&] {
        std::vector<std::thread> waiters;
        for (int i = 0; i != 5; ++i)
            waiters.emplace_back([&] {
                const kq::thread::lock_guard guard(guarding);
                ++waiting;
                while (!isOpen)
                    changed.wait(guarding);
            });
        for (bool all = false; !all; std::this_thread::yield()) {
            const kq::thread::lock_guard guard(guarding);
            all = waiting == 5;
        }
        {
            const kq::thread::lock_guard guard(guarding);
            isOpen = true;
        }
        changed.notify_all();
        for (std::thread& waiter : waiters)
            waiter.join();
    });
}

// Two producers and two consumers over a buffer of one: every lost notification ends in a hang.
TEST(ConditionVariable, LosesNoNotificationUnderStress) {
    constexpr int items = 20'000;
    mutex guarding;
    condition_variable filled, emptied;
    std::deque<int> buffer;
    long taken = 0;
    ReturnsInTime("producers and consumers", [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i != 2; ++i) {
            threads.emplace_back([&] {
                for (int item = 1; item <= items; ++item) {
                    {
                        const kq::thread::lock_guard guard(guarding);
                        while (!buffer.empty())
                            emptied.wait(guarding);
                        buffer.push_back(item);
                    }
                    filled.notify_one();
                }
            });
            threads.emplace_back([&] {
                for (int item = 1; item <= items; ++item) {
                    {
                        const kq::thread::lock_guard guard(guarding);
                        while (buffer.empty())
                            filled.wait(guarding);
                        taken += buffer.front();
                        buffer.pop_front();
                    }
                    emptied.notify_one();
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    });
    EXPECT_EQ(taken, 2L * items * (items + 1) / 2);
}

} // namespace
