// The symbol state of a process.
#pragma once

#include <kq/debug/call_stack.h>

#include "debug/debug_help.h"
#include "debug/module_ranges.h"
#include "debug/module_watch.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace kq::debug {

/// Debug-help's symbol state, opened and closed with this object, kept in step with the loader, and
/// what it has said about addresses. Used by one thread at a time.
class SymbolState {
public:
    /// Throws `std::runtime_error("Failed to initialize symbol handler!")`.
    explicit SymbolState(DebugHelp& help);
    ~SymbolState();
    SymbolState(const SymbolState&) = delete;
    SymbolState& operator=(const SymbolState&) = delete;

    /// Makes every module that the process has loaded known, and no other. Does nothing when the
    /// loader has loaded and unloaded none since the last time.
    /// Throws `std::runtime_error("Failed to refresh module list!")`.
    void Refresh();

    /// Appends the frames of the calling thread's stack from `context` on, except the first, which
    /// is that of whoever captured the context and must not have returned.
    /// Throws `std::runtime_error("Failed to walk the call stack!")`.
    void Walk(CONTEXT& context, std::vector<CallStackEntry>& stack);

    /// What is known about `address`. Good until the next call of any operation.
    const CallStackEntry& Resolve(std::uint64_t address);

private:
    void DropModules(const std::vector<std::uint64_t>& loaded,
                     const std::vector<std::uint64_t>* touched);
    void Reopen();
    void AddModules(const std::vector<std::uint64_t>& loaded);

    DebugHelp& help_;
    ModuleWatch watch_;
    // The modules of the process at the last refresh.
    ModuleRanges modules_;
    // False until a refresh has reached its end; whatever it did not reach, the next one does.
    bool isCurrent_ = false;
    std::unordered_map<std::uint64_t, CallStackEntry> resolved_;
};

} // namespace kq::debug
