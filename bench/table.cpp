#include "table.h"

#include <cstdio>
#include <utility>

namespace bench {

Row::Row(std::string title, std::string unit) : title_(std::move(title)), unit_(std::move(unit)) {}

void Row::Enter(std::string name, std::function<double()> run) {
    contestants_.push_back({std::move(name), std::move(run), {}});
}

void Row::Print() const {
    std::printf("\n%s\n  %-42s %12s   %-23s %7s\n", title_.c_str(), "", unit_.c_str(), "quartiles",
                "ratio");
    for (const Contestant& contestant : contestants_) {
        const Series& cost = contestant.cost;
        std::printf("  %-42s %12.1f   %10.1f .. %-9.1f %7.2f\n", contestant.name.c_str(),
                    cost.Median(), cost.LowerQuartile(), cost.UpperQuartile(),
                    Ratio(cost, contestants_.front().cost).Median());
    }
    std::fflush(stdout);
}

void Measure(const std::vector<Row*>& rows, std::size_t rounds) {
    for (std::size_t round = 0; round <= rounds; ++round)
        for (Row* const row : rows)
            for (Row::Contestant& contestant : row->contestants_) {
                const double cost = contestant.run();
                if (round != 0)
                    contestant.cost.Add(cost);
            }
}

void PrintFigure(const std::string& what, double value, const std::string& bound) {
    std::printf("  * %s: %.3f (%s)\n", what.c_str(), value, bound.c_str());
    std::fflush(stdout);
}

} // namespace bench
