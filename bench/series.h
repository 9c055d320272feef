// Measurements of one and the same thing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

/// The values of several rounds. The median stands for them, the quartiles show how far to trust
/// it; a mean would belong to whatever else the machine did meanwhile.
class Series {
public:
    void Add(double value) { values_.push_back(value); }

    const std::vector<double>& Values() const noexcept { return values_; }

    double Median() const { return Quantile(0.5); }
    double LowerQuartile() const { return Quantile(0.25); }
    double UpperQuartile() const { return Quantile(0.75); }

    /// Interpolated between the two nearest values; 0 when there is none.
    double Quantile(double share) const {
        if (values_.empty())
            return 0;
        std::vector<double> sorted = values_;
        std::sort(sorted.begin(), sorted.end());
        const double place = share * static_cast<double>(sorted.size() - 1);
        const auto below = static_cast<std::size_t>(place);
        const std::size_t above = std::min(below + 1, sorted.size() - 1);
        return sorted[below] +
               (sorted[above] - sorted[below]) * (place - static_cast<double>(below));
    }

private:
    std::vector<double> values_;
};

/// How many times `dividend` is `divisor`, round by round: what disturbs one round disturbs both
/// of its measurements, and so hardly their quotient.
inline Series Ratio(const Series& dividend, const Series& divisor) {
    Series ratio;
    const std::size_t rounds = std::min(dividend.Values().size(), divisor.Values().size());
    for (std::size_t round = 0; round != rounds; ++round)
        ratio.Add(dividend.Values()[round] / divisor.Values()[round]);
    return ratio;
}

} // namespace bench
