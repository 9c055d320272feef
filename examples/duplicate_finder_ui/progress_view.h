// How far the search has come, in the window.
#pragma once

#include <windows.h>

#include <kq/progress/progress.h>

namespace duplicate_finder {

/// Shows the state of a search (see `Work` for what its texts mean) in the bar, the texts around it
/// and the buttons for pause and cancel.
void ShowProgress(HWND window, const kq::progress::ProgressState& state);

/// The same when there has been no search.
void ShowNoProgress(HWND window);

} // namespace duplicate_finder
