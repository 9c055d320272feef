// Functions that the application connected, whatever their arguments are.
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <functional>
#include <memory>

namespace kq::error {

/// A signal whose slots last as long as their handles. May be destroyed by one of the functions
/// that it is calling: those behind it are then not called any more.
class CallbackList {
public:
    /// Gets the arguments of a call.
    using Function = std::function<void(const void* arguments)>;
    using Handle = boost::shared_ptr<boost::signals2::scoped_connection>;

    CallbackList();
    CallbackList(const CallbackList&) = delete;
    CallbackList& operator=(const CallbackList&) = delete;
    ~CallbackList();

    /// Connects `function` behind all others for as long as a copy of the result is held. Throws
    /// `std::bad_alloc`, and then nothing is connected. Copies of it are made under a lock of the
    /// signal.
    Handle Add(const Function& function);

    /// Calls them in the order in which they were connected. An exception of one ends the call.
    void Call(const void* arguments) const;

private:
    class Signal;

    const std::shared_ptr<Signal> signal_;
};

} // namespace kq::error
