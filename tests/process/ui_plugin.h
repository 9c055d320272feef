// A library that uses kq, for a host that does not: loading and freeing it loads and frees kq.
#pragma once

/// What the library exports, with C linkage, each under its name here.
namespace ui_plugin {

inline constexpr const wchar_t* file = L"process_ui_plugin.dll";

/// Queues a job for the UI thread that raises `counter`.
using QueueUIJob = void(long* counter);
/// Queues a job for the UI thread that never starts and raises `counter` when it is let go of.
using QueueWaitingUIJob = void(long* counter);
/// Makes a UI queue of the library's own, which ends when the library is freed.
using MakeUIQueue = void();
/// Whether kq takes the calling thread for the main thread.
using IsMainThread = bool();
/// `kq::Shutdown` and `kq::Startup`; the latter yields whether it was done and not refused.
using Shutdown = void();
using Startup = bool();

} // namespace ui_plugin
