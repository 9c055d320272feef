// The details window for errors.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace duplicate_finder {

/// Shows the texts, one a line, until the user closes the window. The search goes on meanwhile, and
/// so do UI jobs.
void ShowProblems(HWND owner, const std::vector<std::wstring>& problems);

} // namespace duplicate_finder
