// Locks that are held as long as a scope, and the check knows it.
#pragma once

#include <kq/thread/annotations.h>

#include <mutex>
#include <utility>

namespace kq {
namespace thread {

/// As `std::lock_guard`, whose annotations the standard library leaves out. For every class with
/// `lock()` and `unlock()`.
template <class Mutex>
class KQ_SCOPED_CAPABILITY lock_guard {
public:
    /// Takes the lock.
    explicit lock_guard(Mutex& mutex) noexcept(noexcept(mutex.lock())) KQ_ACQUIRE(mutex)
        : mutex_(mutex) {
        mutex.lock();
    }
    /// For a lock that the calling thread has taken already.
    lock_guard(Mutex& mutex, std::adopt_lock_t /*tag*/) noexcept KQ_REQUIRES(mutex)
        : mutex_(mutex) {}
    /// Releases the lock.
    ~lock_guard() KQ_RELEASE() { mutex_.unlock(); }
    lock_guard(const lock_guard&) = delete;
    lock_guard& operator=(const lock_guard&) = delete;

private:
    Mutex& mutex_;
};

/// A lock that may be released before the end of the scope, and taken again.
template <class Mutex>
class KQ_SCOPED_CAPABILITY unique_lock {
public:
    /// Takes the lock.
    explicit unique_lock(Mutex& mutex) noexcept(noexcept(mutex.lock())) KQ_ACQUIRE(mutex)
        : mutex_(mutex) {
        mutex.lock();
    }
    /// Releases the lock if it is held.
    ~unique_lock() KQ_RELEASE() {
        if (isHeld_)
            mutex_.unlock();
    }
    unique_lock(const unique_lock&) = delete;
    unique_lock& operator=(const unique_lock&) = delete;

    /// Only when it is not held.
    void lock() noexcept(noexcept(std::declval<Mutex&>().lock())) KQ_ACQUIRE() {
        mutex_.lock();
        isHeld_ = true;
    }
    /// Only when it is held.
    void unlock() noexcept KQ_RELEASE() {
        isHeld_ = false;
        mutex_.unlock();
    }

private:
    Mutex& mutex_;
    bool isHeld_ = true;
};

/// The reverse: releases a lock that the calling thread holds, and takes it again at the end of the
/// scope.
template <class Mutex>
class KQ_SCOPED_CAPABILITY unlock_guard {
public:
    /// Releases the lock.
    explicit unlock_guard(Mutex& mutex) noexcept KQ_RELEASE(mutex) : mutex_(mutex) {
        mutex.unlock();
    }
    /// Takes the lock again.
    // To the check, the end of the scope releases whatever the scope did: here, the release.
    ~unlock_guard() KQ_RELEASE() { mutex_.lock(); }
    unlock_guard(const unlock_guard&) = delete;
    unlock_guard& operator=(const unlock_guard&) = delete;

private:
    Mutex& mutex_;
};

} // namespace thread
} // namespace kq
