#include <kq/thread/spin_mutex.h>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

using kq::thread::spin_mutex;

namespace {

TEST(SpinMutex, IsOneWordWithATrivialDestructor) {
    static_assert(sizeof(spin_mutex) == 4);
    static_assert(std::is_trivially_destructible_v<spin_mutex>);
}

TEST(SpinMutex, TryLockOnAHeldMutexReturnsFalseAtOnce) {
    spin_mutex mutex;
    ASSERT_TRUE(mutex.try_lock());
    EXPECT_FALSE(mutex.try_lock());
    mutex.unlock();
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST(SpinMutex, AnyThreadMayUnlock) {
    spin_mutex mutex;
    mutex.lock();
    std::thread([&] { mutex.unlock(); }).join();
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST(SpinMutex, KeepsThreadsApartUnderStress) {
    spin_mutex mutex;
    long counter = 0;
    constexpr long rounds = 20'000;
    std::vector<std::thread> threads;
    for (int i = 0; i != 4; ++i)
        threads.emplace_back([&] {
            for (long round = 0; round != rounds; ++round) {
                const std::lock_guard guard(mutex);
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 4 * rounds);
}

} // namespace
