// The system's dialogs for folders and files.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace duplicate_finder {

/// Asks for a folder, beginning at `first`; nothing when the user cancels. The thread has to be in
/// a COM apartment of one thread. Throws `std::runtime_error`.
std::optional<std::wstring> ChooseFolder(HWND owner, const std::wstring& first);

/// Asks for the file that a report is saved in.
std::optional<std::wstring> ChooseReportFile(HWND owner);

} // namespace duplicate_finder
