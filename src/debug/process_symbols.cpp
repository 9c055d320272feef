#include "debug/process_symbols.h"

#include "debug/platform_debug_help.h"

#include <cstddef>
#include <utility>

namespace kq::debug {

namespace {

struct OpenSymbols {
    struct Help final : PlatformDebugHelp {
        using PlatformDebugHelp::PlatformDebugHelp;
    };

    OpenSymbols(void* process, PlatformDebugHelp::RefreshFunction refresh)
        : help(process, refresh), state(help) {}

    Help help;
    SymbolState state;
};

thread::mutex symbolLock;
// Guarded by the symbol lock. A plain pointer, because nothing may be destroyed at process exit.
OpenSymbols* openSymbols = nullptr;
std::size_t users = 0;

void Close() noexcept { delete std::exchange(openSymbols, nullptr); }

} // namespace

void AcquireSymbols(void* process, int (*refresh)(void*)) {
    const std::lock_guard guard(symbolLock);
    if (openSymbols == nullptr)
        openSymbols = new OpenSymbols(process, refresh);
    ++users;
}

void ReleaseSymbols() noexcept {
    const std::lock_guard guard(symbolLock);
    if (--users == 0)
        Close();
}

void AbandonSymbols() noexcept {
    const std::lock_guard guard(symbolLock);
    Close();
}

LockedSymbols::LockedSymbols() noexcept : guard_(symbolLock) {}

SymbolState* LockedSymbols::operator->() const noexcept { return &openSymbols->state; }

} // namespace kq::debug
