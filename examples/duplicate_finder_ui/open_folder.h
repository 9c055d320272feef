// A file in the system's file manager.
#pragma once

#include <windows.h>

#include <string>

namespace duplicate_finder {

/// Opens the folder of the file, with the file selected where the system can do that. The thread
/// has to be in a COM apartment. Throws `std::system_error`.
void OpenFolderOf(HWND owner, const std::wstring& path);

} // namespace duplicate_finder
