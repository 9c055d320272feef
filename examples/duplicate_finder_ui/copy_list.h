// The list of the copies in one group.
#pragma once

#include "list_view.h"
#include "saved_report.h"

#include <optional>
#include <string>
#include <vector>

namespace duplicate_finder {

/// The files of a group, one a row. Further names of the same file (hard links) begin with "=". All
/// for the UI thread.
class CopyList {
public:
    explicit CopyList(HWND list);

    ListView& View() noexcept { return view_; }

    /// Shows the files of the group; null is none.
    void Show(const find_duplicates::SavedGroup* group);

    /// The path of the selected file, or else of the first one; empty when no group is shown.
    std::wstring SelectedPath() const;

    void OnGetDisplayInfo(NMLVDISPINFOW& question) const;

private:
    struct Row {
        std::wstring path;
        bool isOtherName;
    };

    ListView view_;
    std::vector<Row> rows_;
};

} // namespace duplicate_finder
