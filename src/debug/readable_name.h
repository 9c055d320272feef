// Names of functions as people write them.
#pragma once

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

#include <cstdlib>
#include <memory>
#include <string>

namespace kq::debug {

/// `name` without its decoration, or as it is when it has none. Debug-help knows the decoration of
/// MSVC only; that of GCC and clang shows in modules of which only the exports are known.
inline std::string ReadableName(std::string name) {
#if __has_include(<cxxabi.h>)
    if (name.compare(0, 2, "_Z") == 0) {
        int status = 0;
        const std::unique_ptr<char, decltype(&std::free)> plain(
            abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
        if (status == 0)
            return plain.get();
    }
#endif
    return name;
}

} // namespace kq::debug
