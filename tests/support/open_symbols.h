// Debug-help's symbol state, opened before a dump needs it.
#pragma once

#include <windows.h>

#include <dbghelp.h>

/// Opens the symbol state of the process, with no modules in it, if it is not open yet. Under Wine
/// the writer of minidumps otherwise reads all symbols of all modules first, which takes seconds.
inline void OpenSymbols() { SymInitialize(GetCurrentProcess(), nullptr, FALSE); }
