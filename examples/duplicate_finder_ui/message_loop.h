// The program's message loop.
#pragma once

#include <windows.h>

namespace duplicate_finder {

/// Serves the messages of the thread until `PostQuitMessage`, and returns the exit code given
/// there. `window` gets the keys of accelerators, and those that move between its controls. The
/// library's UI jobs are messages like any others and need nothing more.
int RunMessageLoop(HWND window);

} // namespace duplicate_finder
