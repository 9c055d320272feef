// The results that a benchmark relies on.
#pragma once

#include <stdexcept>
#include <string>

namespace bench {

/// Throws, and so ends the program with a failure, unless `isRight`.
inline void Require(bool isRight, const char* what) {
    if (!isRight)
        throw std::runtime_error(std::string("wrong result: ") + what);
}

} // namespace bench
