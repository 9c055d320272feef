// The call stack of the calling thread, and the modules of the process.
#pragma once

#include <kq/debug/call_stack.h>
#include <kq/export.h>
#include <kq/shared_ref.h>
#include <kq/singleton.h>

#include <boost/shared_ptr.hpp>

#include <set>
#include <string>
#include <vector>

namespace kq {
namespace debug {

/// Walks call stacks and resolves them through the platform's debug-help library.
///
/// Debug-help has one symbol state for the whole process and is not made for threads. All handlers
/// share that state: it is opened for the first call stack or refresh, because that takes a while,
/// and closed when the last handler goes. One lock for the process guards it, held for a whole walk
/// with all its look-ups, so any threads may use any handlers at once. Debug-help itself may ask
/// for the loader's lock: do not call a handler inside a library's entry point while other threads
/// may use one.
///
/// What an address stands for is remembered until a module comes or goes, so a stack taken at a
/// known place costs little more than the walk. The symbols of a module are read when the first
/// address in it is resolved. Debug-help keeps that module's file open until the first refresh or
/// call stack after the module was unloaded.
///
/// Debug-help's options are those of the process; a handler adds to them that lines are read, that
/// symbols are read late, that names are undecorated and that nothing opens a message box.
class SymbolHandler {
public:
    /// Makes a new handler. Throws `std::bad_alloc`.
    KQ_API static shared_ref<SymbolHandler, boost::shared_ptr> Create();

    SymbolHandler(const SymbolHandler&) = delete;
    SymbolHandler& operator=(const SymbolHandler&) = delete;

    /// The stack of the calling thread, innermost frame first: the first entry lies in this
    /// function, the second in its caller, and so on to the start of the thread, however many there
    /// are. Of several frames in a row at one and the same address (a function that calls itself
    /// from one place) the outermost stands for all.
    ///
    /// Modules loaded or unloaded meanwhile are noticed, see `RefreshModuleList`. What is not found
    /// out about a frame is no error. Throws `std::runtime_error("Failed to walk the call stack!")`
    /// for a stack that cannot be read to its end, and what `RefreshModuleList` throws.
    KQ_API std::vector<CallStackEntry> GetCallStack();

    /// Makes the symbols of modules loaded meanwhile known and forgets those of unloaded ones.
    /// Costs next to nothing when no module has come or gone. Throws
    /// `std::runtime_error("Failed to refresh module list!")`, and
    /// `std::runtime_error("Failed to initialize symbol handler!")` when debug-help does not open
    /// the symbol state, as it does not on Windows while the host has opened it itself.
    KQ_API void RefreshModuleList();

private:
    using RefreshFunction = int (*)(void* process);

    static void Destroy(SymbolHandler* handler);
    static RefreshFunction LoadSymRefreshSymbolList();

    explicit SymbolHandler(void* const& process);
    ~SymbolHandler();

    void* process_;
    // Older versions of debug-help have no such function; null then.
    RefreshFunction symRefreshModuleList_;
};

/// The names of the modules that the process has loaded, each once, ordered by their bytes. They
/// are what debug-help reports: on Windows full paths, under Wine file names without folder and
/// extension. Characters outside the system's code page are lost. Throws
/// `std::runtime_error("Failed to enumerate loaded modules!")`. Callable from any thread; does not
/// wait for call stacks.
KQ_API std::set<std::string> GetLoadedModuleNames();

/// The process-wide handler: the first service that the library installs and the last that it
/// releases.
extern KQ_API Singleton<SymbolHandler, boost::shared_ptr> symbolHandler;

} // namespace debug
} // namespace kq
