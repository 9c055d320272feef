#include "list_view.h"

#include "dpi.h"

#include <uxtheme.h>

#include <algorithm>
#include <utility>

namespace duplicate_finder {

ListView::ListView(HWND list, std::vector<Column> columns)
    : list_(list), columns_(std::move(columns)) {
    SetWindowTheme(list_, L"Explorer", nullptr);
    ListView_SetExtendedListViewStyle(list_,
                                      LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP);
    for (std::size_t index = 0; index != columns_.size(); ++index) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_FMT;
        column.fmt = columns_[index].alignment;
        column.pszText = const_cast<wchar_t*>(columns_[index].title);
        ListView_InsertColumn(list_, static_cast<int>(index), &column);
    }
}

void ListView::FitColumns(UINT dpi) {
    RECT place{};
    GetWindowRect(list_, &place);
    // There is room for the scroll bar also while it is not shown: the columns stay where they are.
    int left = place.right - place.left - GetSystemMetricsForDpi(SM_CXVSCROLL, dpi) -
               2 * GetSystemMetricsForDpi(SM_CXEDGE, dpi);
    for (const Column& column : columns_)
        left -= Scaled(column.width, dpi);
    for (std::size_t index = 0; index != columns_.size(); ++index) {
        const int width = columns_[index].width;
        ListView_SetColumnWidth(list_, static_cast<int>(index),
                                width != 0 ? Scaled(width, dpi) : std::max(left, 0));
    }
}

void ListView::SetCount(std::size_t count) {
    ListView_SetItemCountEx(list_, static_cast<int>(count), LVSICF_NOSCROLL);
    InvalidateRect(list_, nullptr, FALSE);
}

std::optional<std::size_t> ListView::Selected() const {
    const int row = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
    if (row < 0)
        return {};
    return static_cast<std::size_t>(row);
}

void ListView::Select(std::optional<std::size_t> row) {
    if (row == Selected())
        return;
    constexpr UINT state = LVIS_SELECTED | LVIS_FOCUSED;
    if (row) {
        ListView_SetItemState(list_, static_cast<int>(*row), state, state);
    } else {
        ListView_SetItemState(list_, -1, 0, state);
    }
}

void ListView::Answer(NMLVDISPINFOW& question, const std::wstring& text) {
    if ((question.item.mask & LVIF_TEXT) != 0)
        lstrcpynW(question.item.pszText, text.c_str(), question.item.cchTextMax);
}

} // namespace duplicate_finder
