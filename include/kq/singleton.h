// A process-wide service: one object that the library installs and releases.
#pragma once

#include <kq/shared_ref.h>
#include <kq/thread/spin_mutex.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>

namespace kq {

/// Holds the one instance of a service between its installation and its release. Nothing is created
/// on demand: reaching an empty singleton is an error that names the missing service.
///
/// All operations may be called from any thread at once. `Get()` hands out a plain reference, which
/// the release of the singleton may invalidate; a thread that must keep the service alive across a
/// release takes `GetShared()`.
///
/// The singleton itself is constant-initialised and has a trivial destructor, so it can be reached
/// at any time of the process's life and does nothing when the process exits. An instance that is
/// still installed then is left to the system.
template <class T, template <class> class Ptr>
class Singleton {
public:
    constexpr Singleton() noexcept = default;
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    /// The installed instance. Throws `std::runtime_error` when there is none, with the text
    /// "Singleton instance of " + `typeid(T).name()` + " does not exists!".
    T& Get() const {
        T* const instance = instance_.load(std::memory_order_acquire);
        if (instance == nullptr)
            throw std::runtime_error(std::string("Singleton instance of ") + typeid(T).name() +
                                     " does not exists!");
        return *instance;
    }
    /// As `Get()`.
    T& operator*() const { return Get(); }
    /// As `Get()`.
    T* operator->() const { return &Get(); }

    /// A shared copy, empty when nothing is installed. Keeps the instance alive while it is held.
    Ptr<T> GetShared() const {
        const std::lock_guard guard(mutex_);
        return holder_ == nullptr ? Ptr<T>() : *holder_;
    }

    /// Installs `instance`. A previous instance loses the singleton's reference only after the new
    /// one can be reached. Throws `std::bad_alloc`, and then changes nothing.
    Singleton& operator=(const shared_ref<T, Ptr>& instance) {
        Exchange(new Ptr<T>(instance), instance.get());
        return *this;
    }

    /// Releases the instance, which is destroyed here unless somebody else holds a shared copy. Its
    /// destructor already finds the singleton empty. Does nothing when the singleton is empty.
    void Reset() { Exchange(nullptr, nullptr); }

private:
    void Exchange(Ptr<T>* holder, T* instance) {
        {
            const std::lock_guard guard(mutex_);
            std::swap(holder_, holder);
            instance_.store(instance, std::memory_order_release);
        }
        delete holder;
    }

    // Guards the holder only; instances are destroyed outside it and may reach the singleton again.
    mutable thread::spin_mutex mutex_;
    std::atomic<T*> instance_{nullptr};
    // On the heap, because a shared pointer as a member would be destroyed at process exit.
    Ptr<T>* holder_ = nullptr;
};

} // namespace kq
