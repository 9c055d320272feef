// The life of the library in a process.
#pragma once

#include <kq/export.h>

namespace kq {

/// Installs the process-wide services. This happens by itself when the library is loaded, on the
/// loading thread, which becomes the UI thread; call it to begin again after `Shutdown()`. Starts
/// no thread and waits for nothing. Does nothing while the services are installed. Throws
/// `std::bad_alloc`; nothing is installed then.
KQ_API void Startup();

/// Releases the process-wide services in order: every job that was queued before has run, or was
/// dropped by its terms, when this returns, and every thread of the library has ended. UI jobs go
/// on running while it waits; those that cannot start in the end are removed. A job that runs
/// meanwhile finds `jobQueue` empty. Does nothing the second time.
///
/// Call it on the UI thread, before the program or the last user of the library ends, and outside
/// any callback of the loader (`DllMain`). A process may also end without it: whatever is queued or
/// running then is given up, without waiting. Called while the process is ending (by the destructor
/// of a DLL's object with static storage, for one), it does nothing.
KQ_API void Shutdown();

/// `Startup()` and `Shutdown()` as a scope, for the top of `main`.
class Session {
public:
    Session() { Startup(); }
    ~Session() { Shutdown(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
};

} // namespace kq
