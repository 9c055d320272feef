// The protocol of the platform's code-page functions: ask for the length, then convert.
#pragma once

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>

namespace kq::converter {

/// Converts `length` units of `text` with `call`, which is one of the platform's functions as
/// `int call(const In* text, int length, Out* output, int capacity)`: it returns the length of the
/// output, only that when `output` is null, and 0 when it fails. `call` is not made for an empty
/// text. Throws `std::runtime_error("Failed to convert string!")`.
template <class Out, class In, class Call>
std::basic_string<Out> ConvertByCodePage(const In* text, std::size_t length, Call call) {
    const auto require = [](bool holds) {
        if (!holds)
            throw std::runtime_error("Failed to convert string!");
    };
    if (length == 0)
        return {};
    require(length <= std::size_t{std::numeric_limits<int>::max()});
    const int inputLength = static_cast<int>(length);
    const int outputLength = call(text, inputLength, nullptr, 0);
    // Below zero: a length that overflowed. Wine adds it up in an int without looking.
    require(outputLength > 0);
    std::basic_string<Out> result(static_cast<std::size_t>(outputLength), Out());
    require(call(text, inputLength, result.data(), outputLength) == outputLength);
    return result;
}

} // namespace kq::converter
