// What the window's controls do.
#pragma once

#include <windows.h>

#include "copy_list.h"
#include "group_list.h"
#include "search_run.h"
#include "ui_update.h"
#include "unexpected_errors.h"

#include <commctrl.h>

#include <memory>
#include <string>
#include <vector>

namespace duplicate_finder {

/// Runs searches, one at a time, and shows in the controls of a window what they have to tell. All
/// for the UI thread.
class Finder : public std::enable_shared_from_this<Finder> {
public:
    explicit Finder(HWND window);
    /// Cancels the search, and waits for it.
    ~Finder();
    Finder(const Finder&) = delete;
    Finder& operator=(const Finder&) = delete;

    /// Searches the folder that the window names, in place of the search before.
    void Start();
    void PauseOrResume();
    void Cancel();

    void Browse();
    void Save();
    void OpenSelected();
    void ShowErrors();

    void OnNotify(NMHDR& notification);
    void OnSize(UINT dpi);

private:
    /// Shows what is new; see `UiUpdate`.
    void Update();
    void ShowFound();
    void OnSaved(const std::wstring& file);

    const HWND window_;
    GroupList groups_;
    CopyList copies_;
    const std::shared_ptr<UiUpdate> update_;
    UnexpectedErrors unexpected_;
    std::vector<std::wstring> errors_;    ///< of the last search, and what went wrong since
    find_duplicates::SavedReport report_; ///< of the last search, without the groups
    std::unique_ptr<SearchRun> run_;      ///< until its result has been shown
};

} // namespace duplicate_finder
