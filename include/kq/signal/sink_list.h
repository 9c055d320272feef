// What the signalers are made of: a list of sinks that may change while it is walked.
#pragma once

#include <kq/signal/short_lock.h>
#include <kq/thread/scoped_locks.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace kq {
namespace signal {

/// Keeps a sink connected: it is disconnected, and its callables are destroyed, when the last copy
/// is released. When that happens inside a call of this very sink, the callables live until the
/// call has returned. May outlive the signaler.
using Connection = std::shared_ptr<void>;

namespace detail {

template <class T>
class SinkList;

/// What was given when a sink was connected.
template <class T>
struct Callables {
    std::function<void(T const&)> onValue;
    std::function<void(std::exception_ptr)> onFailure;
    std::function<void()> onCompletion;
};

/// One sink, held by its connection and by the walks that stand on it.
template <class T>
struct Sink {
    explicit Sink(Callables<T> given) : callables(std::move(given)) {}

    const Callables<T> callables;

    // Guarded by the list's lock.
    std::shared_ptr<SinkList<T>> list; // null until it is linked
    Sink* previous = nullptr;
    Sink* next = nullptr;
    std::uint64_t number = 0;
    std::uint32_t holders = 1;
    bool connected = true;
};

/// The linked sinks in the order of connection, and how the signaler ended. A walk takes the lock
/// for each of its steps and holds the one sink on which it stands, so nothing is copied, and
/// sinks may come and go meanwhile.
template <class T>
class SinkList {
public:
    /// The newest sink at some moment; those that are linked later stand beyond it. 0: no sink.
    using Mark = std::uint64_t;

    /// How the signaler had ended when a sink was linked.
    struct End {
        std::exception_ptr failure;
        bool completed = false;
    };

    /// A new sink that is not linked yet, and the connection that owns it.
    static std::pair<Sink<T>*, std::shared_ptr<void>> MakeSink(Callables<T> callables) {
        auto* const sink = new Sink<T>(std::move(callables));
        return {sink, std::shared_ptr<void>(sink, Disconnect)};
    }

    static End Link(const std::shared_ptr<SinkList>& list, Sink<T>& sink) {
        sink.list = list;
        const thread::lock_guard<ShortLock> guard(list->mutex_);
        sink.number = list->newest_.load(std::memory_order_relaxed) + 1;
        list->newest_.store(sink.number, std::memory_order_relaxed);
        sink.previous = list->last_;
        (sink.previous != nullptr ? sink.previous->next : list->first_) = &sink;
        list->last_ = &sink;
        list->isEmpty_.store(false, std::memory_order_relaxed);
        return {list->failure_, list->completed_};
    }

    /// Tells a sink that was just linked what it came too late for.
    static void TellEnd(const Sink<T>& sink, const End& end) {
        if (end.failure && sink.callables.onFailure)
            sink.callables.onFailure(end.failure);
        if (end.completed && sink.callables.onCompletion)
            sink.callables.onCompletion();
    }

    Mark Newest() const noexcept {
        return isEmpty_.load(std::memory_order_relaxed) ? 0
                                                        : newest_.load(std::memory_order_relaxed);
    }

    Mark SetFailure(std::exception_ptr failure) noexcept {
        const thread::lock_guard<ShortLock> guard(mutex_);
        failure_.swap(
            failure); // the parameter goes with the caller's expression, not under the lock
        return Newest();
    }

    Mark SetCompleted() noexcept {
        const thread::lock_guard<ShortLock> guard(mutex_);
        completed_ = true;
        return Newest();
    }

    /// Calls `visit` for each sink up to `mark` that is connected when its turn comes. What
    /// `visit` throws ends the walk. `visit` may end the life of the signaler, and of the list.
    template <class Visit>
    void ForEach(Mark mark, Visit visit) {
        if (mark == 0)
            return;
        Walk walk;
        for (walk.Begin(*this, mark); walk.Current() != nullptr; walk.Step(mark))
            visit(walk.Current()->callables);
    }

private:
    /// Stands on one sink at a time, and lets it go at the end.
    class Walk {
    public:
        Walk() = default;
        ~Walk() {
            if (current_ != nullptr)
                Step(0);
        }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

        Sink<T>* Current() const noexcept { return current_; }

        void Begin(SinkList& list, Mark mark) noexcept {
            const thread::lock_guard<ShortLock> guard(list.mutex_);
            current_ = Hold(list.first_, mark);
        }

        /// The sink that it leaves ends outside the lock, and with it, when it was the last one of
        /// a signaler that is gone, the list.
        void Step(Mark mark) noexcept {
            Sink<T>* const left = current_;
            bool isLast = false;
            {
                const thread::lock_guard<ShortLock> guard(left->list->mutex_);
                current_ = Hold(left->next, mark);
                isLast = left->list->LetGo(*left);
            }
            if (isLast)
                delete left;
        }

    private:
        static Sink<T>* Hold(Sink<T>* sink, Mark mark) noexcept {
            while (sink != nullptr && !sink->connected)
                sink = sink->next;
            if (sink == nullptr || sink->number > mark)
                return nullptr;
            ++sink->holders;
            return sink;
        }

        Sink<T>* current_ = nullptr;
    };

    static void Disconnect(Sink<T>* sink) noexcept {
        bool isLast = true;
        if (sink->list != nullptr) {
            const thread::lock_guard<ShortLock> guard(sink->list->mutex_);
            sink->connected = false;
            isLast = sink->list->LetGo(*sink);
        }
        if (isLast)
            delete sink;
    }

    /// Whether nobody else holds the sink; then it is not in the list any more.
    bool LetGo(Sink<T>& sink) noexcept KQ_REQUIRES(mutex_) {
        if (--sink.holders != 0)
            return false;
        (sink.previous != nullptr ? sink.previous->next : first_) = sink.next;
        (sink.next != nullptr ? sink.next->previous : last_) = sink.previous;
        isEmpty_.store(first_ == nullptr, std::memory_order_relaxed);
        return true;
    }

    ShortLock mutex_; // guards the links and holders of all sinks too
    Sink<T>* first_ KQ_GUARDED_BY(mutex_) = nullptr;
    Sink<T>* last_ KQ_GUARDED_BY(mutex_) = nullptr;
    std::exception_ptr failure_ KQ_GUARDED_BY(mutex_);
    bool completed_ KQ_GUARDED_BY(mutex_) = false;
    // Changed under the lock too, and read without it: emitting to nobody costs one look.
    std::atomic<bool> isEmpty_{true};
    std::atomic<Mark> newest_{0};
};

} // namespace detail
} // namespace signal
} // namespace kq
