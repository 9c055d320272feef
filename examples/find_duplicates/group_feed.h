// Groups as soon as they are known.
#pragma once

#include "candidate.h"
#include "grouping.h"
#include "tree.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace find_duplicates {

/// Tells of groups while the search goes on. Only files of the same size can be the same: when the
/// last of them has been read as far as it has to be, their groups are known.
///
/// The candidates are in the order of `FindCandidates`, and stay where they are.
class GroupFeed {
public:
    /// `onGroups` is called on the threads that call `OnExamined`; when it is empty, the feed does
    /// nothing.
    GroupFeed(const Tree& tree, std::vector<Candidate>& candidates, OnGroups onGroups);

    /// The heads of all candidates will be read. That decides those whose head is all there is.
    void ExpectHeads();
    /// The rest of these will be read. Not while heads are.
    void ExpectBodies(const std::vector<Candidate*>& files);

    /// The candidate has been read, or could not be; on any thread. Throws what `onGroups` throws.
    void OnExamined(const Candidate& candidate);

private:
    /// Files of one size.
    struct Run {
        Candidate* first = nullptr;
        Candidate* last = nullptr;
        std::atomic<std::uint32_t> awaited{0}; ///< how many files are to be read yet
    };

    /// By the size as it was listed, which does not change.
    bool HeadIsAll(const Candidate& candidate) const;
    Run& RunOf(const Candidate& candidate);
    void Tell(const Run& run);

    const Tree& tree_;
    const Candidate* const candidates_;
    const OnGroups onGroups_;
    std::vector<std::uint32_t> runOf_; ///< by the index of the candidate
    std::vector<Run> runs_;
};

} // namespace find_duplicates
