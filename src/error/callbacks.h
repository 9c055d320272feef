// Functions that the application connected, to be called one after the other.
#pragma once

#include "error/callback_list.h"

#include <boost/function.hpp>

#include <memory>
#include <tuple>

namespace kq::error {

template <class Signature>
class Callbacks;

/// A `CallbackList` of functions with these parameters.
template <class... Parameters>
class Callbacks<void(Parameters...)> {
public:
    /// As `CallbackList::Add`; but no copy of `callback` is made under a lock.
    CallbackList::Handle Add(const boost::function<void(Parameters...)>& callback) {
        // Shared, because the signal copies its slot under its lock.
        const auto shared = std::make_shared<const boost::function<void(Parameters...)>>(callback);
        return list_.Add([shared](const void* arguments) {
            std::apply(*shared, *static_cast<const Arguments*>(arguments));
        });
    }

    /// Calls them in the order in which they were connected. An exception of one ends the call.
    void Call(const Parameters&... arguments) const {
        const Arguments packed(arguments...);
        list_.Call(&packed);
    }

private:
    using Arguments = std::tuple<const Parameters&...>;

    CallbackList list_;
};

} // namespace kq::error
