// A process-wide service: one object that the library installs and releases.
#pragma once

#include <kq/shared_ref.h>
#include <kq/thread/scoped_locks.h>
#include <kq/thread/spin_mutex.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
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
    /// Takes no lock and never waits, so a filter that reports a crash may call it whatever the
    /// other threads were doing when they were stopped.
    Ptr<T> GetShared() const {
        std::atomic<std::uint32_t>& inside = readers_[entrance_.load()];
        inside.fetch_add(1);
        const Ptr<T>* const holder = holder_.load();
        Ptr<T> shared = holder == nullptr ? Ptr<T>() : *holder;
        inside.fetch_sub(1, std::memory_order_release);
        return shared;
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
            const thread::lock_guard guard(mutex_);
            holder = holder_.exchange(holder);
            instance_.store(instance, std::memory_order_release);
            AwaitReaders();
        }
        delete holder;
    }

    // Returns when everybody who may still see the previous holder has left. Those who come
    // meanwhile use the other entrance, so that a stream of them cannot keep us here.
    void AwaitReaders() {
        for (std::size_t side = 0; side != readers_.size(); ++side) {
            entrance_.store(readers_.size() - 1 - side);
            while (readers_[side].load() != 0)
                std::this_thread::yield();
        }
    }

    // Guards changes only, one at a time; instances are destroyed outside it and may reach the
    // singleton again.
    thread::spin_mutex mutex_;
    std::atomic<T*> instance_{nullptr};
    // On the heap, because a shared pointer as a member would be destroyed at process exit.
    std::atomic<Ptr<T>*> holder_{nullptr};
    // How many are copying the holder, by the entrance that they took. A reader counts itself
    // before it looks at the holder, and a change replaces the holder before it looks at the
    // counts: one of the two sees the other.
    mutable std::array<std::atomic<std::uint32_t>, 2> readers_{};
    std::atomic<std::size_t> entrance_{0};
};

} // namespace kq
