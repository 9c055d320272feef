#include "thread/surviving_lock.h"

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <thread>

using kq::thread::mutex;
using kq::thread::SurvivingLock;

namespace {

TEST(SurvivingLockScope, HoldsTheMutexUntilItEnds) {
    mutex mutex;
    {
        const SurvivingLock lock(mutex);
        EXPECT_TRUE(lock.IsHeld());
        EXPECT_FALSE(mutex.try_lock());
    }
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST(SurvivingLockScope, WaitsForTheMutexWhileItsHolderLives) {
    mutex mutex;
    kq_test::Event isHeld;
    bool isOver = false;
    std::thread holder;
    {
        const SurvivingLock lock(mutex);
        holder = std::thread([&] {
            isHeld.Set();
            const SurvivingLock other(mutex);
            EXPECT_TRUE(other.IsHeld());
            EXPECT_TRUE(isOver);
        });
        isHeld.Wait();
        isOver = true;
    }
    holder.join();
}

} // namespace
