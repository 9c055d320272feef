// What the platform's RPC functions answer.
#pragma once

#include <windows.h>

#include <rpc.h>

#include <stdexcept>

namespace kq::type {

/// Throws `std::runtime_error(failure)` unless `status` is plain success. A UUID that is unique
/// only on this computer (`RPC_S_UUID_LOCAL_ONLY`) is none.
inline void RequireSuccess(RPC_STATUS status, const char* failure) {
    if (status != RPC_S_OK)
        throw std::runtime_error(failure);
}

} // namespace kq::type
