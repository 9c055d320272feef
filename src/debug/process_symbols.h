// The one symbol state of this process, and its lock.
#pragma once

#include "debug/symbol_state.h"
#include "thread/surviving_lock.h"

namespace kq::debug {

/// `SymRefreshModuleList` of debug-help, or null when it has none.
using RefreshFunction = int (*)(void* process);

/// Counts one more user of the symbol state. It is not opened yet: that takes debug-help a while,
/// and most users never need it.
void AcquireSymbols() noexcept;

/// Counts one user less. The last one closes the symbol state.
void ReleaseSymbols() noexcept;

/// Closes the symbol state whoever still counts as its user: the library is about to be unmapped,
/// and the loader would go on reporting to it.
void AbandonSymbols() noexcept;

/// The symbol state and the symbol lock, held as long as this object lives. The lock is not
/// recursive. For users of the symbol state only.
class LockedSymbols {
public:
    /// Opens the symbol state of `process`, with its function `refresh`, when it is not open.
    /// Throws `std::runtime_error("Failed to initialize symbol handler!")`.
    LockedSymbols(void* process, RefreshFunction refresh);
    SymbolState* operator->() const noexcept { return state_; }

private:
    thread::SurvivingLock lock_;
    SymbolState* state_ = nullptr;
};

} // namespace kq::debug
