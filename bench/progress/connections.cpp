#include "progress/rows.h"
#include "stopwatch.h"
#include "table.h"

#include <kq/signal/signaler.h>

#include <boost/signals2/signal.hpp>

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t connectionsPerRound = 50'000;

template <class Connect>
double CostOf(Connect connect) {
    const Stopwatch watch;
    for (std::size_t i = 0; i != connectionsPerRound; ++i)
        connect();
    return watch.NanosecondsPer(connectionsPerRound);
}

void Ignore(int /*value*/) {}

struct Contestants {
    explicit Contestants(std::size_t sinks) {
        for (std::size_t i = 0; i != sinks; ++i) {
            tokens.push_back(signaler.Connect(Ignore));
            connections.emplace_back(signal.connect(Ignore));
        }
    }

    kq::signal::CSignaler<int> signaler;
    boost::signals2::signal<void(int)> signal;
    std::vector<kq::signal::Connection> tokens;
    std::vector<boost::signals2::scoped_connection> connections;
};

} // namespace

void Connections() {
    constexpr std::size_t counts[] = {0, 1'000};
    std::deque<Row> rows;
    std::deque<Contestants> contestants;
    std::vector<Row*> all;
    for (const std::size_t others : counts) {
        Contestants& of = contestants.emplace_back(others);
        Row& row = rows.emplace_back(
            "Connect and disconnect beside " + std::to_string(others) + " sinks", "ns/connection");
        row.Enter("kq CSignaler", [&of] {
            return CostOf([&of] {
                of.tokens.push_back(of.signaler.Connect(Ignore));
                of.tokens.pop_back();
            });
        });
        row.EnterPeer("boost::signals2", [&of] {
            return CostOf([&of] {
                of.connections.emplace_back(of.signal.connect(Ignore));
                of.connections.pop_back();
            });
        });
        row.AimAtMostTimes(0.5);
        all.push_back(&row);
    }
    Measure(all, 15);
    for (const Row& row : rows)
        row.Report();
}

} // namespace bench
