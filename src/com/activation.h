// The activation of an activation context.
#pragma once

#include <windows.h>

#include <stdexcept>

namespace kq::com {

/// Activates `context` with `activate`, which is the platform's `ActivateActCtx`, and returns the
/// cookie that deactivates it. Throws `std::runtime_error("Failed to activate context!")`.
template <class Call>
ULONG_PTR Activate(HANDLE context, Call activate) {
    ULONG_PTR cookie = 0;
    if (!activate(context, &cookie))
        throw std::runtime_error("Failed to activate context!");
    return cookie;
}

} // namespace kq::com
