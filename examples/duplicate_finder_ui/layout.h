// Where the main window's controls stand.
#pragma once

#include <windows.h>

namespace duplicate_finder {

/// Puts the controls where they belong in the window's client area. `line` is the height of a line
/// of text.
void Arrange(HWND window, UINT dpi, int line);

/// The sizes of the whole window, in pixels at `dpi`.
SIZE SizeAtFirst(UINT dpi);
SIZE SmallestSize(UINT dpi);

} // namespace duplicate_finder
