// Timed waits are fine enough here.
#pragma once

#include <windows.h>

inline UINT timeBeginPeriod(UINT /*milliseconds*/) { return 0; } // NOLINT: the platform's name
inline UINT timeEndPeriod(UINT /*milliseconds*/) { return 0; }   // NOLINT: the platform's name
