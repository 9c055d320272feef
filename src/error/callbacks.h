// Functions that the application connected, to be called one after the other.
#pragma once

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

#include <memory>

namespace kq::error {

/// A signal whose slots last as long as their handles. May be destroyed by one of the functions
/// that it is calling: those behind it are then not called any more.
template <class Signature>
class Callbacks {
public:
    // The first slot of a signal is not connected all or nothing: without memory it may stay in the
    // list although `connect` throws. So the first one is ours and does nothing.
    Callbacks() {
        signal_->connect([](const auto&... /*arguments*/) {});
    }
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;
    ~Callbacks() { signal_->disconnect_all_slots(); }

    /// Connects `callback` behind all others for as long as a copy of the result is held. Throws
    /// `std::bad_alloc`, and then nothing is connected.
    boost::shared_ptr<boost::signals2::scoped_connection> Add(
        const boost::function<Signature>& callback) {
        // Made first: nothing may be connected when there is no memory for the handle.
        boost::shared_ptr<boost::signals2::scoped_connection> handle(
            new boost::signals2::scoped_connection);
        // Shared, because the signal copies its slot under its lock.
        const auto shared = std::make_shared<const boost::function<Signature>>(callback);
        *handle = signal_->connect([shared](const auto&... arguments) { (*shared)(arguments...); });
        return handle;
    }

    /// Calls them in the order in which they were connected. An exception of one ends the call.
    template <class... Arguments>
    void Call(const Arguments&... arguments) const {
        const std::shared_ptr<Signal> signal = signal_;
        (*signal)(arguments...);
    }

private:
    using Signal = boost::signals2::signal<Signature>;

    const std::shared_ptr<Signal> signal_ = std::make_shared<Signal>();
};

} // namespace kq::error
