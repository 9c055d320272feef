#include "group_feed.h"

#include "examine.h"

#include <cstddef>
#include <utility>

namespace find_duplicates {

GroupFeed::GroupFeed(const Tree& tree, std::vector<Candidate>& candidates, OnGroups onGroups)
    : tree_(tree), candidates_(candidates.data()), onGroups_(std::move(onGroups)) {
    if (!onGroups_)
        return;
    // The sizes as they were listed: those of the candidates change when files do.
    const auto size = [&](std::size_t index) { return tree.files[candidates[index].file].size; };
    std::uint32_t count = 0;
    runOf_.reserve(candidates.size());
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        count += index == 0 || size(index) != size(index - 1) ? 1 : 0;
        runOf_.push_back(count - 1);
    }
    runs_ = std::vector<Run>(count);
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        Run& run = runs_[runOf_[index]];
        if (run.first == nullptr)
            run.first = &candidates[index];
        run.last = &candidates[index] + 1;
    }
}

void GroupFeed::ExpectHeads() {
    for (Run& run : runs_) {
        if (HeadIsAll(*run.first))
            run.awaited = static_cast<std::uint32_t>(run.last - run.first);
    }
}

void GroupFeed::ExpectBodies(const std::vector<Candidate*>& files) {
    if (!onGroups_)
        return;
    for (const Candidate* file : files) {
        if (!HeadIsAll(*file)) // else it has grown, and is not told of again
            ++RunOf(*file).awaited;
    }
}

void GroupFeed::OnExamined(const Candidate& candidate) {
    if (!onGroups_)
        return;
    Run& run = RunOf(candidate);
    // Nothing is awaited of files whose bodies are still to be chosen.
    if (run.awaited != 0 && --run.awaited == 0)
        Tell(run);
}

bool GroupFeed::HeadIsAll(const Candidate& candidate) const {
    return tree_.files[candidate.file].size <= headLength;
}

GroupFeed::Run& GroupFeed::RunOf(const Candidate& candidate) {
    return runs_[runOf_[static_cast<std::size_t>(&candidate - candidates_)]];
}

// The thread that read the last file of the run has it for itself.
void GroupFeed::Tell(const Run& run) {
    const CandidateRange candidates(run.first, run.last);
    JoinNames(candidates);
    std::vector<Group> groups = FindGroups(tree_, candidates);
    if (!groups.empty())
        onGroups_(std::move(groups));
}

} // namespace find_duplicates
