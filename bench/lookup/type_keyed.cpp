#include <kq/type/type_keyed_map.h>

#include "lookup/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <any>
#include <cstddef>
#include <mutex>
#include <typeindex>
#include <unordered_map>
#include <utility>

namespace bench {

namespace {

constexpr std::size_t lookUpsPerRound = 100'000;

template <int>
struct Value {
    int number = 1;
};

template <int... numbers>
void SetAll(kq::type::TypeKeyedMap& map, std::integer_sequence<int, numbers...> /*all*/) {
    (map.Set(Value<numbers>{}), ...);
}
template <int... numbers>
void SetAll(std::unordered_map<std::type_index, std::any>& map,
            std::integer_sequence<int, numbers...> /*all*/) {
    (map.emplace(typeid(Value<numbers>), Value<numbers>{}), ...);
}

/// Nanoseconds for one `find`, which returns a pointer to a value.
template <class Find>
double CostOf(Find find) {
    std::size_t sum = 0;
    const Stopwatch watch;
    for (std::size_t i = 0; i != lookUpsPerRound; ++i)
        sum += static_cast<std::size_t>(find()->number);
    const double cost = watch.NanosecondsPer(lookUpsPerRound);
    Require(sum == lookUpsPerRound, "the values that were found");
    return cost;
}

} // namespace

void TypeKeyed() {
    using All = std::make_integer_sequence<int, 16>;
    using Wanted = Value<7>;
    kq::type::TypeKeyedMap map;
    SetAll(map, All());
    std::unordered_map<std::type_index, std::any> peer;
    SetAll(peer, All());
    std::mutex mutex;
    const auto findInPeer = [&peer] {
        return std::any_cast<Wanted>(&peer.find(typeid(Wanted))->second);
    };

    Row row("Look up one of 16 values by its type", "ns");
    row.Enter("kq TypeKeyedMap", [&] { return CostOf([&] { return map.Find<Wanted>(); }); });
    row.EnterPeer("std::unordered_map under a std::mutex", [&] {
        return CostOf([&] {
            const std::lock_guard<std::mutex> lock(mutex);
            return findInPeer();
        });
    });
    row.EnterLimit("std::unordered_map without a lock", [&] { return CostOf(findInPeer); });
    row.AimAtMostTimes(1);
    Measure({&row}, 51);
    row.Report();
}

} // namespace bench
