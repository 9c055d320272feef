// The rows of a benchmark's table.
#pragma once

#include "series.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One thing to do, and those who do it.
class Row {
public:
    Row(std::string title, std::string unit);

    /// `run` does it once and returns what that cost, in the unit of the row. The first contestant
    /// is the one that the others are compared with.
    void Enter(std::string name, std::function<double()> run);

    const Series& CostOf(std::size_t contestant) const { return contestants_.at(contestant).cost; }

    /// The title, and for each contestant the median, the quartiles, and how many times the first
    /// contestant's cost it has.
    void Print() const;

private:
    friend void Measure(const std::vector<Row*>& rows, std::size_t rounds);

    struct Contestant {
        std::string name;
        std::function<double()> run;
        Series cost;
    };

    std::string title_;
    std::string unit_;
    std::vector<Contestant> contestants_;
};

/// Has every contestant of every row run once in each round, so that all of them meet the same
/// machine. A first round, which is not counted, warms them up.
void Measure(const std::vector<Row*>& rows, std::size_t rounds = 5);

/// A single number below the rows, and the bound that it is meant to keep.
void PrintFigure(const std::string& what, double value, const std::string& bound);

} // namespace bench
