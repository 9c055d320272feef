// The search for duplicates.
#pragma once

#include "candidate.h"
#include "grouping.h"
#include "tally.h"
#include "tree.h"
#include "work.h"

#include <kq/concurrency/job.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace find_duplicates {

/// What a search has found out.
struct Findings {
    Tree tree;
    std::vector<Candidate> candidates;
    Tally heads;  ///< what the first look at the candidates has read
    Tally bodies; ///< what the second look has read
    bool interrupted = false;
    std::size_t notCompared = 0; ///< files that an interrupted search has left undecided
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

/// Searches the folder (see `ResolveFolder`) for files of at least `minSize` bytes with equal
/// content, and runs `report` when `findings` are complete: in a job that depends on those that
/// read, or, when `work` is cancelled, on the calling thread with what was found until then.
/// `onGroups` is told of groups before that, as soon as they are known (see `GroupFeed`), on
/// several threads at once; those in the final `findings` differ only where files changed
/// meanwhile. Throws `std::bad_alloc`, what `report`, `onGroups` and the observers of the work
/// throw, and "Thread could not be created!".
void Search(const std::wstring& folder, std::uint64_t minSize, Work& work, Findings& findings,
            const kq::concurrency::Job& report, const OnGroups& onGroups = {});

} // namespace find_duplicates
