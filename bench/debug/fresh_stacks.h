// Call stacks of places that nobody has seen before.
#pragma once

#include "stopwatch.h"

#include <array>
#include <cstddef>
#include <utility>

namespace bench {

inline volatile int freshStackSink = 0;

/// What a first and a second call of a function cost at one and the same place, in nanoseconds.
struct FirstAndSecond {
    double first;
    double second;
};

/// Calls `capture` twice below `depth` frames that each have an address of their own, different for
/// every `place`.
template <int place, int depth>
[[gnu::noinline]] FirstAndSecond AtFreshPlace(void (*capture)()) {
    FirstAndSecond cost{};
    if constexpr (depth > 1) {
        cost = AtFreshPlace<place, depth - 1>(capture);
    } else {
        for (double* const nanoseconds : {&cost.first, &cost.second}) {
            const Stopwatch watch;
            capture();
            *nanoseconds = watch.Nanoseconds();
        }
    }
    freshStackSink = place * depth; // no two alike, and none a tail call
    return cost;
}

template <int depth, int... places>
constexpr auto MakeFreshPlaces(std::integer_sequence<int, places...>) {
    return std::array<FirstAndSecond (*)(void (*)()), sizeof...(places)>{
        &AtFreshPlace<places, depth>...};
}

/// So many functions, each for one use.
template <int depth, int count>
inline constexpr auto freshPlaces =
    MakeFreshPlaces<depth>(std::make_integer_sequence<int, count>());

} // namespace bench
