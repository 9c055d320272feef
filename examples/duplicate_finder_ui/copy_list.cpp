#include "copy_list.h"

#include "file_name.h"

namespace duplicate_finder {

using find_duplicates::SavedGroup;

CopyList::CopyList(HWND list)
    : view_(list, {{L"Name", 200, LVCFMT_LEFT}, {L"Folder", 0, LVCFMT_LEFT}}) {}

void CopyList::Show(const SavedGroup* group) {
    const std::wstring selected = view_.Selected() ? SelectedPath() : L"";
    rows_.clear();
    std::optional<std::size_t> row;
    if (group != nullptr) {
        for (const std::vector<std::wstring>& copy : group->copies) {
            for (const std::wstring& name : copy) {
                if (name == selected)
                    row = rows_.size();
                rows_.push_back({name, &name != &copy.front()});
            }
        }
    }
    view_.SetCount(rows_.size());
    view_.Select(row);
}

std::wstring CopyList::SelectedPath() const {
    if (rows_.empty())
        return {};
    const std::size_t row = view_.Selected().value_or(0);
    return rows_[row < rows_.size() ? row : 0].path;
}

void CopyList::OnGetDisplayInfo(NMLVDISPINFOW& question) const {
    const auto index = static_cast<std::size_t>(question.item.iItem);
    if (index >= rows_.size())
        return;
    const Row& row = rows_[index];
    if (question.item.iSubItem == 0)
        ListView::Answer(question, (row.isOtherName ? L"= " : L"") + NameOf(row.path));
    else
        ListView::Answer(question, FolderOf(row.path));
}

} // namespace duplicate_finder
