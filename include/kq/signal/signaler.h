// Values for whoever listens.
#pragma once

#include <kq/signal/sink_list.h>

#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace kq {
namespace signal {

template <class T>
class CBehaviorSignaler;

/// Hands values to any number of sinks, in the order in which they were connected, on the thread
/// that emits.
///
/// Every operation may be called from any thread, also from the callables of sinks: no lock is held
/// while one of them runs. A callable may connect and disconnect sinks, its own among them, emit,
/// and destroy the signaler. An emission calls the sinks that were connected when it began, except
/// those that have been disconnected before their turn. Emissions on two threads call the same sink
/// at the same time.
///
/// What a callable throws leaves the emission, and the sinks after it are not called.
///
/// Emitting allocates nothing. Connecting and disconnecting cost the same whatever the number of
/// sinks.
template <class T>
class CSignaler {
public:
    CSignaler() : sinks_(std::make_shared<detail::SinkList<T>>()) {}
    CSignaler(const CSignaler&) = delete;
    CSignaler& operator=(const CSignaler&) = delete;

    /// Connects a sink for as long as the result, or a copy of it, is kept.
    ///
    /// `onValue` is called with every value that is emitted from now on; one that takes its
    /// parameter by value gets a copy of its own. When it is empty, an emission throws
    /// `std::bad_function_call` at this sink. `onFailure` and `onCompletion` may be empty. On a
    /// signaler that has failed or completed they are called before this returns: with the latest
    /// failure, and after that for the completion.
    Connection Connect(std::function<void(T const&)> onValue,
                       std::function<void(std::exception_ptr)> onFailure = {},
                       std::function<void()> onCompletion = {}) {
        auto [sink, connection] = detail::SinkList<T>::MakeSink(
            {std::move(onValue), std::move(onFailure), std::move(onCompletion)});
        detail::SinkList<T>::TellEnd(*sink, detail::SinkList<T>::Link(sinks_, *sink));
        return connection;
    }

    /// Calls every sink with `value`.
    void Emit(T const& value) const { EmitUpTo(sinks_->Newest(), value); }

    /// Remembers `failure` for sinks that are connected later, and calls every sink's `onFailure`
    /// with it.
    void Fail(std::exception_ptr failure) {
        sinks_->ForEach(sinks_->SetFailure(failure), [&](const detail::Callables<T>& sink) {
            if (sink.onFailure)
                sink.onFailure(failure);
        });
    }

    /// Remembers the completion for sinks that are connected later, and calls every sink's
    /// `onCompletion`, also after one that has thrown; what they throw is lost.
    void Complete() noexcept {
        sinks_->ForEach(sinks_->SetCompleted(), [](const detail::Callables<T>& sink) {
            try {
                if (sink.onCompletion)
                    sink.onCompletion();
            } catch (...) { // nobody to tell: an observer's trouble is not the work's
            }
        });
    }

private:
    friend class CBehaviorSignaler<T>;

    void EmitUpTo(typename detail::SinkList<T>::Mark mark, T const& value) const {
        sinks_->ForEach(mark, [&](const detail::Callables<T>& sink) { sink.onValue(value); });
    }

    std::shared_ptr<detail::SinkList<T>> sinks_; // kept by the sinks too
};

} // namespace signal
} // namespace kq
