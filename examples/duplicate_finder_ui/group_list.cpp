#include "group_list.h"

#include "figures.h"
#include "file_name.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace duplicate_finder {
namespace {

using find_duplicates::SavedGroup;

enum Columns : int { name, folder, copies, size, wasted };

const std::wstring& FirstPath(const SavedGroup& group) { return group.copies.front().front(); }

bool WastesMore(const SavedGroup& left, const SavedGroup& right) {
    if (Waste(left) != Waste(right))
        return Waste(left) > Waste(right);
    return FirstPath(left) < FirstPath(right);
}

} // namespace

std::uint64_t Waste(const SavedGroup& group) { return group.size * (group.copies.size() - 1); }

GroupList::GroupList(HWND list)
    : view_(list, {{L"Name", 200, LVCFMT_LEFT},
                   {L"Folder", 0, LVCFMT_LEFT},
                   {L"Copies", 60, LVCFMT_RIGHT},
                   {L"Size", 84, LVCFMT_RIGHT},
                   {L"Wasted", 84, LVCFMT_RIGHT}}) {}

const SavedGroup* GroupList::Selected() const {
    const auto row = view_.Selected();
    return row && *row < groups_.size() ? &groups_[*row] : nullptr;
}

void GroupList::SelectFirst() {
    if (!groups_.empty())
        view_.Select(0);
}

void GroupList::Add(Groups groups) {
    const Content selected = SelectedContent();
    std::sort(groups.begin(), groups.end(), WastesMore);
    Groups all;
    all.reserve(groups_.size() + groups.size());
    std::merge(std::move_iterator(groups_.begin()), std::move_iterator(groups_.end()),
               std::move_iterator(groups.begin()), std::move_iterator(groups.end()),
               std::back_inserter(all), WastesMore);
    Show(std::move(all), selected);
}

void GroupList::Assign(Groups groups) { Show(std::move(groups), SelectedContent()); }

GroupList::Content GroupList::SelectedContent() const {
    const SavedGroup* const selected = Selected();
    return selected != nullptr ? Content(selected->size, selected->digest) : Content();
}

void GroupList::Show(Groups groups, const Content& selected) {
    groups_ = std::move(groups);
    view_.SetCount(groups_.size());
    const auto group = std::find_if(groups_.begin(), groups_.end(), [&](const SavedGroup& shown) {
        return shown.size == selected.first && shown.digest == selected.second;
    });
    if (group != groups_.end())
        view_.Select(static_cast<std::size_t>(group - groups_.begin()));
    else
        view_.Select({});
}

void GroupList::OnGetDisplayInfo(NMLVDISPINFOW& question) const {
    using namespace find_duplicates;
    const auto row = static_cast<std::size_t>(question.item.iItem);
    if (row >= groups_.size())
        return;
    const SavedGroup& group = groups_[row];
    switch (question.item.iSubItem) {
        case name:
            return ListView::Answer(question, NameOf(FirstPath(group)));
        case folder:
            return ListView::Answer(question, FolderOf(FirstPath(group)));
        case copies:
            return ListView::Answer(question, FormatCount(group.copies.size()));
        case size:
            return ListView::Answer(question, FormatSize(group.size));
        case wasted:
            return ListView::Answer(question, FormatSize(Waste(group)));
        default:
            return;
    }
}

} // namespace duplicate_finder
