// Changes to inputs, without knowledge of what they mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace kq_fuzz {

/// Makes new inputs of known ones. The same seed gives the same inputs on every platform.
class Mutator {
public:
    Mutator(std::vector<std::string> corpus, std::size_t longest, std::uint32_t seed);

    /// One of the corpus, changed in a few places.
    std::string Next();

private:
    std::size_t Below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }
    const std::string& AnyOfCorpus() { return corpus_[Below(corpus_.size())]; }
    void Change(std::string& input);

    const std::vector<std::string> corpus_;
    const std::size_t longest_;
    std::mt19937 random_;
};

} // namespace kq_fuzz
