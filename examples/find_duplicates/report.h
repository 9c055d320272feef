// What the program prints in the end.
#pragma once

#include "grouping.h"
#include "search.h"

#include <string>
#include <vector>

namespace find_duplicates {

/// Every group with its files, for people.
std::wstring DescribeGroups(const Tree& tree, const std::vector<Group>& groups);
/// A line with tabs for every name of a file: the number of its group, the number of its copy in
/// the group (names of the same file share it), size and path.
std::wstring TabulateGroups(const Tree& tree, const std::vector<Group>& groups);

/// A text for everything that could not be examined.
std::vector<std::wstring> ListProblems(const Findings& findings);
/// The same, as lines with the program's name.
std::wstring DescribeProblems(const Findings& findings);

/// What the search has gone through, in one line. A link that the system lists as a file (see
/// `LedElsewhere`) counts as a link if there was a reason to open it.
std::wstring DescribeTree(const Findings& findings);
std::wstring DescribeSummary(const Findings& findings, const std::vector<Group>& groups);

/// Whether everything has been examined, but for an interruption.
bool IsComplete(const Findings& findings);

} // namespace find_duplicates
