// Results of the platform that have to be successes.
#pragma once

#include <windows.h>

#include <stdexcept>

namespace kq::xml {

/// Throws `std::runtime_error(failure)` when `result` is a failure. For failures without a text of
/// their own there is `_com_util::CheckError`.
inline void Require(HRESULT result, const char* failure) {
    if (FAILED(result))
        throw std::runtime_error(failure);
}

} // namespace kq::xml
