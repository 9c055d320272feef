#include "table.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

/// Where rows are written down; closed while they are not.
std::ofstream& Results() {
    static std::ofstream results;
    return results;
}

std::string NumberOf(double value) {
    char text[32] = "";
    std::snprintf(text, sizeof(text), value >= 100 ? "%.0f" : "%.3g", value);
    return text;
}

} // namespace

Row::Row(std::string title, std::string unit) : title_(std::move(title)), unit_(std::move(unit)) {}

void Row::Enter(std::string name, std::function<double()> run) {
    contestants_.push_back({std::move(name), Side::Ours, std::move(run), {}});
}
void Row::EnterPeer(std::string name, std::function<double()> run) {
    contestants_.push_back({std::move(name), Side::Peer, std::move(run), {}});
}
void Row::EnterLimit(std::string name, std::function<double()> run) {
    contestants_.push_back({std::move(name), Side::Limit, std::move(run), {}});
}

void Row::EnterResult(std::string name, Series cost) {
    contestants_.push_back({std::move(name), Side::Ours, {}, std::move(cost)});
}
void Row::EnterPeerResult(std::string name, Series cost) {
    contestants_.push_back({std::move(name), Side::Peer, {}, std::move(cost)});
}
void Row::EnterLimitResult(std::string name, Series cost) {
    contestants_.push_back({std::move(name), Side::Limit, {}, std::move(cost)});
}

void Row::AimAtMost(double bound) { goals_.push_back({false, bound}); }

void Row::AimAtMostTimes(double bound, std::string part, std::string whose) {
    goals_.push_back({true, bound, std::move(part), std::move(whose)});
}

const Row::Contestant* Row::StrongestPeer(const std::string& part) const {
    const Contestant* strongest = nullptr;
    for (const Contestant& contestant : contestants_)
        if (contestant.side == Side::Peer && contestant.name.find(part) != std::string::npos &&
            (strongest == nullptr || contestant.cost.Median() < strongest->cost.Median()))
            strongest = &contestant;
    return strongest;
}

bool Row::IsMet(const Goal& goal) const {
    const Series& own = contestants_.front().cost;
    if (!goal.isOfPeer)
        return own.Median() <= goal.bound;
    const Contestant* const peer = StrongestPeer(goal.part);
    if (peer == nullptr)
        throw std::logic_error("no such peer: " + goal.part);
    return Ratio(own, peer->cost).Median() <= goal.bound;
}

std::string Row::TextOf(const Goal& goal) const {
    std::string text = "at most " + NumberOf(goal.bound);
    if (!goal.isOfPeer)
        return text + ' ' + unit_;
    return text + " of " + goal.whose;
}

std::string Row::Goals() const {
    std::string text;
    for (const Goal& goal : goals_)
        text += (text.empty() ? "" : ", ") + TextOf(goal);
    return text;
}

void Row::Report() const {
    Print();
    if (Results().is_open())
        Write();
}

void Row::Print() const {
    std::printf("\n%s\n  %-42s %12s   %-23s %7s\n", title_.c_str(), "", unit_.c_str(), "quartiles",
                "ratio");
    for (const Contestant& contestant : contestants_) {
        const Series& cost = contestant.cost;
        std::printf("  %-42s %12.2f   %10.2f .. %-9.2f %7.2f\n", contestant.name.c_str(),
                    cost.Median(), cost.LowerQuartile(), cost.UpperQuartile(),
                    Ratio(cost, contestants_.front().cost).Median());
    }
    for (const Goal& goal : goals_)
        std::printf("  * %s: %s\n", TextOf(goal).c_str(), IsMet(goal) ? "met" : "MISSED");
    std::fflush(stdout);
}

void Row::Write() const {
    std::ofstream& results = Results();
    const auto writeSeries = [&results](const Series& series) {
        results << '\t' << series.Median() << '\t' << series.LowerQuartile() << '\t'
                << series.UpperQuartile();
    };
    const bool isMet =
        std::all_of(goals_.begin(), goals_.end(), [this](const Goal& goal) { return IsMet(goal); });
    results << "row\t" << title_ << '\t' << unit_ << '\t' << Goals() << '\t'
            << (goals_.empty() ? "-"
                : isMet        ? "met"
                               : "missed");
    if (const Contestant* const strongest = StrongestPeer({})) {
        results << '\t' << strongest->name;
        writeSeries(Ratio(contestants_.front().cost, strongest->cost));
    }
    results << '\n';
    constexpr const char* sides[] = {"kq", "peer", "limit"};
    for (const Contestant& contestant : contestants_) {
        results << "cost\t" << contestant.name << '\t' << sides[static_cast<int>(contestant.side)];
        writeSeries(contestant.cost);
        results << '\n';
    }
    results.flush();
    if (!results)
        throw std::runtime_error("cannot write the results");
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

void ReportFigure(const std::string& title, const std::string& unit, const Series& values,
                  double bound) {
    Row row(title, unit);
    row.EnterResult("kq", values);
    row.AimAtMost(bound);
    row.Report();
}

void WriteResultsTo(const std::string& file) {
    std::ofstream& results = Results();
    results.close();
    results.clear();
    if (file.empty())
        return;
    results.open(file, std::ios::binary);
    if (!results)
        throw std::runtime_error("cannot write " + file);
}

} // namespace bench
