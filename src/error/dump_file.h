// One minidump, written by the thread that crashed.
#pragma once

#include <windows.h>

#include <dbghelp.h>

namespace kq::error {

/// What writes the dump into the open file: the platform's `MiniDumpWriteDump`, or a stand-in.
using DumpWriter = decltype(MiniDumpWriteDump);

/// Writes a minidump of the process to the file `name` and returns whether there is one now. The
/// file is created anew, and shared with nobody until the dump is complete; where it cannot be
/// created nothing changes. Uses no memory but the stack: the heap may be what is broken.
bool WriteDumpFile(const wchar_t* name, EXCEPTION_POINTERS* pointers,
                   DumpWriter& write = MiniDumpWriteDump) noexcept;

} // namespace kq::error
