// Values for whoever listens, beginning with the current one.
#pragma once

#include <kq/signal/short_lock.h>
#include <kq/signal/signaler.h>
#include <kq/thread/scoped_locks.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <utility>

namespace kq {
namespace signal {

/// A `CSignaler` that keeps the last value and hands it to every new sink. The same rules hold for
/// threads and callables.
///
/// No value falls between the first call of a sink and its being connected. Which of two values
/// that are emitted at the same time is the last one is decided before any sink hears of them, so
/// the same one stays for later sinks, in whatever order they are heard.
///
/// `T` is copied and swapped, under the signaler's lock too: its operations must not come back to
/// the signaler.
template <class T>
class CBehaviorSignaler {
public:
    /// Those sinks that were connected when a value was stored. False when there were none.
    class Audience {
    public:
        /// Whether there were any.
        explicit operator bool() const noexcept { return mark_ != 0; }

    private:
        friend class CBehaviorSignaler;
        using Mark = typename detail::SinkList<T>::Mark;
        explicit Audience(Mark mark) noexcept : mark_(mark) {}
        Mark mark_;
    };

    /// The last value is `initial` until another one is emitted.
    // NOLINTNEXTLINE(modernize-pass-by-value): the parameter is given
    explicit CBehaviorSignaler(T const& initial) : last_(initial) {}
    CBehaviorSignaler(const CBehaviorSignaler&) = delete;
    CBehaviorSignaler& operator=(const CBehaviorSignaler&) = delete;

    /// As `CSignaler<T>::Connect`; but first, on this thread, `onValue` is called with the last
    /// value, unless it is empty. When others have been emitted meanwhile, by `onValue` itself or
    /// on another thread, it is called with the newest of them too, and so on, before this returns.
    Connection Connect(std::function<void(T const&)> onValue,
                       std::function<void(std::exception_ptr)> onFailure = {},
                       std::function<void()> onCompletion = {}) {
        auto [sink, connection] =
            List::MakeSink({std::move(onValue), std::move(onFailure), std::move(onCompletion)});
        List::TellEnd(*sink, ReplayAndLink(*sink));
        return connection;
    }

    /// Makes `value` the last one and calls every sink with it.
    void Emit(T const& value) { Deliver(value, Store(value)); }

    /// The first half of an emission: makes `value` the last one, without calling anybody. For an
    /// owner that changes the value under a lock of its own: storing inside the lock keeps the last
    /// value in step with the changes, and calling the sinks, by `Deliver`, has to wait until the
    /// lock is released.
    Audience Store(T value) {
        using std::swap;
        const thread::lock_guard<detail::ShortLock> guard(mutex_);
        swap(last_, value);
        ++stores_;
        return Audience(signaler_.sinks_->Newest());
    }

    /// The second half of an emission: calls the sinks of `audience` with `value`.
    void Deliver(T const& value, Audience audience) const {
        signaler_.EmitUpTo(audience.mark_, value);
    }

    /// As `CSignaler<T>::Fail`.
    void Fail(std::exception_ptr failure) { signaler_.Fail(std::move(failure)); }

    /// As `CSignaler<T>::Complete`.
    void Complete() noexcept { signaler_.Complete(); }

private:
    using List = detail::SinkList<T>;

    typename List::End ReplayAndLink(detail::Sink<T>& sink) {
        // Against a sink that emits whenever it is called, and one that is slower than those who
        // emit: after so many replays the next one runs when the sink is linked already.
        constexpr int patience = 100;
        thread::unique_lock<detail::ShortLock> lock(mutex_);
        for (int replays = 0; sink.callables.onValue; ++replays) {
            const std::uint64_t stores = stores_;
            const bool isLinked = replays == patience;
            typename List::End end;
            if (isLinked)
                end = List::Link(signaler_.sinks_, sink);
            {
                const T value = last_;
                lock.unlock();
                sink.callables.onValue(value);
            }
            if (isLinked)
                return end;
            lock.lock();
            if (stores == stores_)
                break;
        }
        return List::Link(signaler_.sinks_, sink);
    }

    CSignaler<T> signaler_;
    detail::ShortLock mutex_; // comes before the list's lock
    T last_ KQ_GUARDED_BY(mutex_);
    std::uint64_t stores_ KQ_GUARDED_BY(mutex_) = 0;
};

} // namespace signal
} // namespace kq
