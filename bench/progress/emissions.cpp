#include "progress/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>

#include <boost/signals2/signal.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t emissionsPerRound = 200'000;

/// The cost of an emission to so many sinks, each of which adds to `sum` what it gets.
template <class Emit>
double CostOf(std::size_t sinks, const std::uint64_t& sum, Emit emit) {
    const std::uint64_t before = sum;
    const Stopwatch watch;
    for (std::size_t i = 0; i != emissionsPerRound; ++i)
        emit();
    const double cost = watch.NanosecondsPer(emissionsPerRound);
    Require(sum - before == sinks * emissionsPerRound, "what the sinks got");
    return cost;
}

struct Contestants {
    explicit Contestants(std::size_t sinks) {
        const auto add = [this](int value) { sum += static_cast<std::uint64_t>(value); };
        for (std::size_t i = 0; i != sinks; ++i) {
            tokens.push_back(signaler.Connect(add));
            tokens.push_back(behavior.Connect(add));
            connections.emplace_back(signal.connect(add));
        }
    }

    std::uint64_t sum = 0;
    kq::signal::CSignaler<int> signaler;
    kq::signal::CBehaviorSignaler<int> behavior{0};
    boost::signals2::signal<void(int)> signal;
    std::vector<kq::signal::Connection> tokens;
    std::vector<boost::signals2::scoped_connection> connections;
};

} // namespace

void Emissions() {
    constexpr std::size_t counts[] = {1, 8};
    std::deque<Row> rows;
    std::deque<Contestants> contestants;
    std::vector<Row*> all;
    for (const std::size_t sinks : counts) {
        Contestants& of = contestants.emplace_back(sinks);
        Row& row = rows.emplace_back(
            "One emission to " + std::to_string(sinks) + (sinks == 1 ? " sink" : " sinks"),
            "ns/emission");
        row.Enter("kq CSignaler",
                  [&of, sinks] { return CostOf(sinks, of.sum, [&of] { of.signaler.Emit(1); }); });
        row.Enter("kq CBehaviorSignaler",
                  [&of, sinks] { return CostOf(sinks, of.sum, [&of] { of.behavior.Emit(1); }); });
        row.EnterPeer("boost::signals2",
                      [&of, sinks] { return CostOf(sinks, of.sum, [&of] { of.signal(1); }); });
        row.AimAtMostTimes(0.2);
        all.push_back(&row);
    }
    Measure(all, 25);
    for (const Row& row : rows)
        row.Report();
}

} // namespace bench
