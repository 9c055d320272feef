// State that nobody clears up at the end of the process.
#pragma once

#include "thread/platform.h"

namespace kq::thread {

/// Holds a `T` that a thread may have been changing when it was killed because the process ends.
/// The destructor of a host's object with static storage may come here then: it leaves the `T`, of
/// which nothing is known, to the system. At any other time it destroys it.
template <class T>
class LeftAtProcessEnd {
public:
    // NOLINTBEGIN(cppcoreguidelines-pro-type-union-access): only members of unions are not destroyed
    // by themselves
    LeftAtProcessEnd() : value_() {}
    LeftAtProcessEnd(const LeftAtProcessEnd&) = delete;
    LeftAtProcessEnd& operator=(const LeftAtProcessEnd&) = delete;
    ~LeftAtProcessEnd() {
        if (!platform::ProcessIsEnding())
            value_.~T();
    }

    T& operator*() noexcept { return value_; }
    const T& operator*() const noexcept { return value_; }
    T* operator->() noexcept { return &value_; }
    const T* operator->() const noexcept { return &value_; }
    // NOLINTEND(cppcoreguidelines-pro-type-union-access)

private:
    union {
        T value_;
    };
};

} // namespace kq::thread
