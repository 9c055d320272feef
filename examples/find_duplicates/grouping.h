// Which files may be the same, and which are.
#pragma once

#include "candidate.h"
#include "tree.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace find_duplicates {

/// The files whose size another file has too, the largest first.
std::vector<Candidate> FindCandidates(const Tree& tree, std::uint64_t minSize);

/// Neighbours in the list of candidates, or all of them.
class CandidateRange {
public:
    /// Up to the one before `end`.
    CandidateRange(Candidate* begin, Candidate* end) noexcept : begin_(begin), end_(end) {}
    CandidateRange(std::vector<Candidate>& all) noexcept
        : CandidateRange(all.data(), all.data() + all.size()) {}

    Candidate* begin() const noexcept { return begin_; }
    Candidate* end() const noexcept { return end_; }

private:
    Candidate* begin_;
    Candidate* end_;
};

/// Notes which candidates are names of one and the same file, as far as they have been opened.
void JoinNames(CandidateRange candidates);

/// The files whose head is not all and equals that of another file, the largest first. Names that
/// were joined to another one are not among them.
std::vector<Candidate*> FindUndecided(std::vector<Candidate>& candidates);

/// One file, with all its names (at least one).
using Copy = std::vector<const Candidate*>;

/// Files with the same content: two copies or more.
struct Group {
    std::uint64_t size = 0; ///< of each copy
    std::vector<Copy> copies;

    /// What all copies but one take.
    std::uint64_t Waste() const { return size * (copies.size() - 1); }
};

/// The groups among the candidates that are digested, those that waste most first. The order of
/// names, copies and groups depends on nothing but the files.
std::vector<Group> FindGroups(const Tree& tree, CandidateRange candidates);

/// Is told of groups as they are found.
using OnGroups = std::function<void(std::vector<Group>)>;

} // namespace find_duplicates
