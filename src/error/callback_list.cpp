#include "error/callback_list.h"

#include <boost/signals2/signal.hpp>

namespace kq::error {

class CallbackList::Signal : public boost::signals2::signal<void(const void*)> {};

// The first slot of a signal is not connected all or nothing: without memory it may stay in the
// list although `connect` throws. So the first one is ours and does nothing.
CallbackList::CallbackList() : signal_(std::make_shared<Signal>()) {
    signal_->connect([](const void* /*arguments*/) {});
}

CallbackList::~CallbackList() { signal_->disconnect_all_slots(); }

CallbackList::Handle CallbackList::Add(const Function& function) {
    // Made first: nothing may be connected when there is no memory for the handle.
    Handle handle(new boost::signals2::scoped_connection);
    *handle = signal_->connect(function);
    return handle;
}

void CallbackList::Call(const void* arguments) const {
    const std::shared_ptr<Signal> signal = signal_;
    (*signal)(arguments);
}

} // namespace kq::error
