#include "thread/mutex.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

using kq::thread::mutex;

namespace {

TEST(Mutex, IsOneWordThatNeedsNeitherConstructionNorDestruction) {
    static_assert(sizeof(mutex) == 4);
    static_assert(std::is_trivially_destructible_v<mutex>);
    static constexpr mutex constant;
    (void)constant;
    SUCCEED();
}

TEST(Mutex, TryLockOnAHeldMutexReturnsFalseAtOnce) {
    mutex tried;
    ASSERT_TRUE(tried.try_lock());
    EXPECT_FALSE(tried.try_lock());
    tried.unlock();
    EXPECT_TRUE(tried.try_lock());
    tried.unlock();
}

TEST(Mutex, TryLockFailsWhileOthersSleepOnIt) {
    mutex tried;
    tried.lock();
    std::vector<std::thread> sleepers;
    for (int i = 0; i != 3; ++i)
        sleepers.emplace_back([&] { const std::lock_guard guard(tried); });
    EXPECT_FALSE(tried.try_lock());
    tried.unlock();
    for (std::thread& sleeper : sleepers)
        sleeper.join();
    EXPECT_TRUE(tried.try_lock());
    tried.unlock();
}

TEST(Mutex, KeepsThreadsApartUnderStress) {
    mutex guarding;
    long counter = 0;
    constexpr long rounds = 200'000;
    std::vector<std::thread> threads;
    for (int i = 0; i != 6; ++i)
        threads.emplace_back([&] {
            for (long round = 0; round != rounds; ++round) {
                const std::lock_guard guard(guarding);
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 6 * rounds);
}

} // namespace
