// How crashes get to the reporters.
#pragma once

namespace crash_lab {

/// From now on kq hears of every crash that nobody handles: it writes a dump and calls the
/// reporters, and then the system ends the process.
void InstallCrashFilter();

/// Prepares the calling thread for the overflow of its stack, which leaves no room to report it
/// there. On the main thread once, on others in each job or thread.
void ReportOverflowsOfThisThread();

} // namespace crash_lab
