// The result of a search as an XML document, for a later run to compare with.
#pragma once

#include "grouping.h"
#include "search.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace find_duplicates {

/// A group as a report keeps it. Size and digest say which content it is.
struct SavedGroup {
    std::uint64_t size = 0; ///< of each copy
    std::wstring digest;    ///< that of `Candidate`, as hexadecimal text
    /// The copies, each with its names: the paths as they are shown, without what XML does not
    /// allow.
    std::vector<std::vector<std::wstring>> copies;
};

struct SavedReport {
    std::wstring folder;
    bool complete = false; ///< everything was examined
    std::vector<SavedGroup> groups;
};

/// `text` says what is wrong with which file, in one line.
class BadReport : public std::runtime_error {
public:
    explicit BadReport(std::wstring text)
        : std::runtime_error("bad report"), message_(std::move(text)) {}
    const std::wstring& Message() const noexcept { return message_; }

private:
    std::wstring message_;
};

/// A group that was found, as it is kept.
SavedGroup SaveGroup(const Tree& tree, const Group& group);

/// The result of a search of `folder` (see `ResolveFolder`).
SavedReport MakeReport(const std::wstring& folder, const Findings& findings,
                       const std::vector<Group>& groups);

/// Writes the report to `file`, in place of what is there. Throws `BadReport`.
void WriteReport(const SavedReport& report, const std::wstring& file);

/// Reads a report that `WriteReport` has written. Throws `BadReport`.
SavedReport ReadReport(const std::wstring& file);

} // namespace find_duplicates
