// A list that asks for its texts when it shows them.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <optional>
#include <string>
#include <vector>

namespace duplicate_finder {

struct Column {
    const wchar_t* title;
    int width;     ///< in pixels at 96 dots an inch; 0 for what the other columns leave
    int alignment; ///< `LVCFMT_LEFT` or `LVCFMT_RIGHT`
};

/// A list view that holds no rows (`LVS_OWNERDATA`), so that hundreds of thousands cost nothing.
/// All for the UI thread.
class ListView {
public:
    ListView(HWND list, std::vector<Column> columns);

    HWND Handle() const noexcept { return list_; }

    /// To be called when the resolution or the width of the list has changed.
    void FitColumns(UINT dpi);

    /// Shows so many rows; their texts are asked for anew.
    void SetCount(std::size_t count);

    std::optional<std::size_t> Selected() const;
    /// Selects a row, or none.
    void Select(std::optional<std::size_t> row);

    /// Answers `LVN_GETDISPINFO`.
    static void Answer(NMLVDISPINFOW& question, const std::wstring& text);

private:
    const HWND list_;
    const std::vector<Column> columns_;
};

} // namespace duplicate_finder
