// A lock for code that may run while the process ends.
#pragma once

#include "thread/mutex.h"
#include "thread/platform.h"

namespace kq::thread {

/// Holds a mutex as long as it lives, unless that can never be had: while the process ends all
/// other threads have been killed, and what one of them held stays locked for ever. For operations
/// that the destructors of a host's objects call, which may run that late.
///
/// To the check of annotations it is `IsHeld()` that takes the lock, so that nobody forgets to ask.
class KQ_SCOPED_CAPABILITY SurvivingLock {
public:
    explicit SurvivingLock(mutex& mutex) noexcept KQ_EXCLUDES(mutex)
        : mutex_(mutex), isHeld_(Lock(mutex)) {}
    ~SurvivingLock() KQ_RELEASE() {
        if (isHeld_)
            mutex_.unlock();
    }
    SurvivingLock(const SurvivingLock&) = delete;
    SurvivingLock& operator=(const SurvivingLock&) = delete;

    /// False when nobody will ever hold it again, and what it guards may be half changed.
    bool IsHeld() const noexcept KQ_TRY_ACQUIRE(true) { return isHeld_; }

private:
    static bool Lock(mutex& mutex) noexcept KQ_TRY_ACQUIRE(true, mutex) {
        if (platform::ProcessIsEnding())
            return mutex.try_lock();
        mutex.lock();
        return true;
    }

    mutex& mutex_;
    const bool isHeld_;
};

} // namespace kq::thread
