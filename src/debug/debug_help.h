// Debug-help, as the symbol state sees it.
#pragma once

#include <kq/debug/call_stack.h>

#include "debug/module_ranges.h"

#include <windows.h>

#include <dbghelp.h>

#include <cstdint>
#include <string>

namespace kq::debug {

/// The functions of debug-help for one process, so that a test can stand between. Used by one
/// thread at a time.
class DebugHelp {
public:
    /// Opens the symbol state, with all modules of the process in it or none. False when it fails.
    virtual bool Open(bool withModules) noexcept = 0;
    /// Closes the symbol state. False when it fails.
    virtual bool Close() noexcept = 0;

    /// Whether this debug-help has `SymRefreshModuleList`.
    virtual bool CanRefresh() const noexcept = 0;
    /// Calls it. It need not achieve anything: Wine's answers that it succeeded and loads nothing.
    virtual void Refresh() noexcept = 0;

    /// Whether the symbol state has a module at `base`.
    virtual bool HasModule(std::uint64_t base) noexcept = 0;
    /// Adds the module at `base` with the image file `file`. Its symbols may be read later.
    virtual void LoadModule(const std::wstring& file, std::uint64_t base,
                            std::uint32_t size) noexcept = 0;
    /// Removes the module at `base`, if there is one.
    virtual void UnloadModule(std::uint64_t base) noexcept = 0;

    /// Fills in what can be found out about the address of `entry`.
    virtual void Resolve(CallStackEntry& entry) = 0;

    /// Moves `frame` and `context` to the next frame of the calling thread's stack, at first to the
    /// innermost. `modules` is where code is expected. False when the stack cannot be read.
    virtual bool WalkFrame(STACKFRAME64& frame, CONTEXT& context,
                           const ModuleRanges& modules) noexcept = 0;

protected:
    ~DebugHelp() = default;
};

} // namespace kq::debug
