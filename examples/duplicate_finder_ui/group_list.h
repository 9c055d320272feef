// The list of groups.
#pragma once

#include "list_view.h"
#include "saved_report.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace duplicate_finder {

/// The groups in a list, those that waste most first. While it grows, the selected group stays
/// selected, whichever row it gets. All for the UI thread.
class GroupList {
public:
    using Groups = std::vector<find_duplicates::SavedGroup>;

    explicit GroupList(HWND list);

    ListView& View() noexcept { return view_; }
    const Groups& All() const noexcept { return groups_; }
    /// Null when none is.
    const find_duplicates::SavedGroup* Selected() const;

    void SelectFirst();

    /// Adds groups to those that are shown.
    void Add(Groups groups);
    /// Shows these groups, in this order.
    void Assign(Groups groups);

    void OnGetDisplayInfo(NMLVDISPINFOW& question) const;

private:
    /// Which content it is: size and digest.
    using Content = std::pair<std::uint64_t, std::wstring>;

    Content SelectedContent() const;
    void Show(Groups groups, const Content& selected);

    ListView view_;
    Groups groups_;
};

/// What all copies of the group but one take.
std::uint64_t Waste(const find_duplicates::SavedGroup& group);

} // namespace duplicate_finder
