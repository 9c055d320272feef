// The one symbol state of this process, and its lock.
#pragma once

#include "debug/symbol_state.h"
#include "thread/mutex.h"

#include <mutex>

namespace kq::debug {

/// Counts one more user of the symbol state, which the first one opens: for `process`, with its
/// `SymRefreshModuleList` or null. Throws `std::runtime_error("Failed to initialize symbol
/// handler!")`, and then counts nobody.
void AcquireSymbols(void* process, int (*refresh)(void*));

/// Counts one user less. The last one closes the symbol state.
void ReleaseSymbols() noexcept;

/// Closes the symbol state whoever still counts as its user: the library is about to be unmapped,
/// and the loader would go on reporting to it.
void AbandonSymbols() noexcept;

/// The symbol state and the symbol lock, held as long as this object lives. The lock is not
/// recursive. For users of the symbol state only.
class LockedSymbols {
public:
    LockedSymbols() noexcept;
    SymbolState* operator->() const noexcept;

private:
    std::lock_guard<thread::mutex> guard_;
};

} // namespace kq::debug
