// The rows of a benchmark's table.
#pragma once

#include "series.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One thing to do, and those who do it: the library, and the peers that it is held against.
class Row {
public:
    Row(std::string title, std::string unit);

    /// `run` does it once and returns what that cost, in the unit of the row. The first contestant
    /// is the one that the others are compared with: the library. Further ones are its variations.
    void Enter(std::string name, std::function<double()> run);

    /// A peer does it.
    void EnterPeer(std::string name, std::function<double()> run);

    /// Somebody who does less: no peer, but a measure of what is left to win.
    void EnterLimit(std::string name, std::function<double()> run);

    /// Contestants whose costs are known already.
    void EnterResult(std::string name, Series cost);
    void EnterPeerResult(std::string name, Series cost);
    void EnterLimitResult(std::string name, Series cost);

    /// The library means to cost at most `bound` units.
    void AimAtMost(double bound);

    /// The library means to cost at most `bound` times what the strongest peer costs; with `part`,
    /// the strongest of those whose names contain it, which `whose` describes.
    void AimAtMostTimes(double bound, std::string part = {},
                        std::string whose = "the strongest peer");

    const Series& CostOf(std::size_t contestant) const { return contestants_.at(contestant).cost; }

    /// Prints the title, for each contestant the median, the quartiles and how many times the first
    /// contestant's cost it has, and the goals; and writes the same down, see `WriteResultsTo`.
    void Report() const;

private:
    friend void Measure(const std::vector<Row*>& rows, std::size_t rounds);

    enum class Side { Ours, Peer, Limit };
    struct Contestant {
        std::string name;
        Side side;
        std::function<double()> run;
        Series cost;
    };
    struct Goal {
        bool isOfPeer; // or of its own unit
        double bound;
        std::string part{};
        std::string whose{};
    };

    const Contestant* StrongestPeer(const std::string& part) const;
    bool IsMet(const Goal& goal) const;
    std::string TextOf(const Goal& goal) const;
    std::string Goals() const;
    void Print() const;
    void Write() const;

    std::string title_;
    std::string unit_;
    std::vector<Contestant> contestants_;
    std::vector<Goal> goals_;
};

/// Has every contestant of every row run once in each round, so that all of them meet the same
/// machine. A first round, which is not counted, warms them up.
void Measure(const std::vector<Row*>& rows, std::size_t rounds = 5);

/// Reports a row that has one number and the bound that it means to keep.
void ReportFigure(const std::string& title, const std::string& unit, const Series& values,
                  double bound);

/// From now on every row that is reported is also written to `file`, for programs to read: fields
/// with tabs between them. A row is a line "row" (title, unit, goals, "met", "missed" or "-"; and,
/// when there are peers, the strongest and the ratio to it: median and quartiles), followed by a
/// line "cost" for each contestant (name, "kq", "peer" or "limit", median and quartiles). An empty
/// name ends that.
void WriteResultsTo(const std::string& file);

} // namespace bench
