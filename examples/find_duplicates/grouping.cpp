#include "grouping.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace find_duplicates {
namespace {

/// Calls `onRun(begin, end)` for each longest run of neighbours that are `equal`.
template <class Iterator, class Equal, class OnRun>
void ForEachRun(Iterator begin, Iterator end, Equal equal, OnRun onRun) {
    while (begin != end) {
        const Iterator next =
            std::find_if_not(begin, end, [&](const auto& item) { return equal(*begin, item); });
        onRun(begin, next);
        begin = next;
    }
}

int CompareDigests(const Candidate* left, const Candidate* right) {
    return std::memcmp(left->digest.bytes, right->digest.bytes, sizeof left->digest.bytes);
}

/// Larger files first, equal content together.
bool ContentBefore(const Candidate* left, const Candidate* right) {
    if (left->stamp.size != right->stamp.size)
        return left->stamp.size > right->stamp.size;
    return CompareDigests(left, right) < 0;
}

bool SameContent(const Candidate* left, const Candidate* right) {
    return left->stamp.size == right->stamp.size && CompareDigests(left, right) == 0;
}

/// The candidate that stands for the file which has this name.
const Candidate* FileOf(const Candidate& name) {
    return name.sameFileAs != nullptr ? name.sameFileAs : &name;
}

/// Without putting the paths together, which would cost more than the comparison.
bool PathBefore(const Tree& tree, const File& left, const File& right) {
    if (left.folder != right.folder)
        return tree.folders[left.folder] < tree.folders[right.folder];
    return left.name < right.name;
}

} // namespace

std::vector<Candidate> FindCandidates(const Tree& tree, std::uint64_t minSize) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t file = 0; file < tree.files.size(); ++file) {
        if (tree.files[file].size >= minSize)
            order.push_back(file);
    }
    const auto size = [&](std::uint32_t file) { return tree.files[file].size; };
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
        return size(left) > size(right);
    });

    std::vector<Candidate> candidates;
    ForEachRun(
        order.begin(), order.end(),
        [&](std::uint32_t left, std::uint32_t right) { return size(left) == size(right); },
        [&](auto begin, auto end) {
            if (end - begin < 2)
                return;
            for (auto file = begin; file != end; ++file) {
                Candidate candidate;
                candidate.file = *file;
                candidate.stamp.size = size(*file);
                candidates.push_back(candidate);
            }
        });
    return candidates;
}

void JoinNames(CandidateRange candidates) {
    std::vector<Candidate*> names;
    for (Candidate& candidate : candidates) {
        const bool opened = candidate.state == State::Begun || candidate.state == State::Digested;
        if (opened && candidate.hasOtherNames)
            names.push_back(&candidate);
    }
    std::sort(names.begin(), names.end(), [](const Candidate* left, const Candidate* right) {
        return std::tie(left->id, left->file) < std::tie(right->id, right->file);
    });
    ForEachRun(
        names.begin(), names.end(),
        [](const Candidate* left, const Candidate* right) { return left->id == right->id; },
        [](auto begin, auto end) {
            for (auto name = begin + 1; name != end; ++name)
                (*name)->sameFileAs = *begin;
        });
}

std::vector<Candidate*> FindUndecided(std::vector<Candidate>& candidates) {
    std::vector<Candidate*> begun;
    for (Candidate& candidate : candidates) {
        if (candidate.state == State::Begun && candidate.sameFileAs == nullptr)
            begun.push_back(&candidate);
    }
    std::sort(begun.begin(), begun.end(), ContentBefore);
    std::vector<Candidate*> undecided;
    ForEachRun(begun.begin(), begun.end(), SameContent, [&](auto begin, auto end) {
        if (end - begin > 1)
            undecided.insert(undecided.end(), begin, end);
    });
    return undecided;
}

std::vector<Group> FindGroups(const Tree& tree, CandidateRange candidates) {
    const auto pathBefore = [&](const Candidate* left, const Candidate* right) {
        return PathBefore(tree, tree.files[left->file], tree.files[right->file]);
    };

    std::vector<const Candidate*> names;
    for (const Candidate& candidate : candidates) {
        if (FileOf(candidate)->state == State::Digested)
            names.push_back(&candidate);
    }
    // Files of the same content together, in them the names of the same file.
    std::sort(names.begin(), names.end(), [&](const Candidate* left, const Candidate* right) {
        const Candidate* const leftFile = FileOf(*left);
        const Candidate* const rightFile = FileOf(*right);
        if (leftFile == rightFile)
            return pathBefore(left, right);
        if (!SameContent(leftFile, rightFile))
            return ContentBefore(leftFile, rightFile);
        return leftFile->file < rightFile->file;
    });

    std::vector<Group> groups;
    const auto sameContent = [](const Candidate* left, const Candidate* right) {
        return SameContent(FileOf(*left), FileOf(*right));
    };
    const auto sameFile = [](const Candidate* left, const Candidate* right) {
        return FileOf(*left) == FileOf(*right);
    };
    ForEachRun(names.begin(), names.end(), sameContent, [&](auto begin, auto end) {
        Group group;
        group.size = FileOf(**begin)->stamp.size;
        ForEachRun(begin, end, sameFile, [&](auto firstName, auto lastName) {
            group.copies.emplace_back(firstName, lastName);
        });
        if (group.copies.size() < 2)
            return;
        std::sort(group.copies.begin(), group.copies.end(),
                  [&](const Copy& left, const Copy& right) {
                      return pathBefore(left.front(), right.front());
                  });
        groups.push_back(std::move(group));
    });
    std::sort(groups.begin(), groups.end(), [&](const Group& left, const Group& right) {
        if (left.Waste() != right.Waste())
            return left.Waste() > right.Waste();
        return pathBefore(left.copies.front().front(), right.copies.front().front());
    });
    return groups;
}

} // namespace find_duplicates
