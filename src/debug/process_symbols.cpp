#include "debug/process_symbols.h"

#include "debug/platform_debug_help.h"

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace kq::debug {

namespace {

struct OpenSymbols {
    struct Help final : PlatformDebugHelp {
        using PlatformDebugHelp::PlatformDebugHelp;
    };

    OpenSymbols(void* process, RefreshFunction refresh) : help(process, refresh), state(help) {}

    Help help;
    SymbolState state;
};

thread::mutex symbolLock;
// Guarded by the symbol lock. A plain pointer, because nothing may be destroyed at process exit.
OpenSymbols* openSymbols = nullptr;
std::size_t users = 0;

void Close() noexcept { delete std::exchange(openSymbols, nullptr); }

} // namespace

void AcquireSymbols() noexcept {
    const thread::SurvivingLock lock(symbolLock);
    ++users;
}

void ReleaseSymbols() noexcept {
    const thread::SurvivingLock lock(symbolLock);
    if (lock.IsHeld() && --users == 0)
        Close();
}

void AbandonSymbols() noexcept {
    const thread::SurvivingLock lock(symbolLock);
    if (lock.IsHeld())
        Close();
}

LockedSymbols::LockedSymbols(void* process, RefreshFunction refresh) : lock_(symbolLock) {
    if (!lock_.IsHeld())
        throw std::runtime_error("Failed to initialize symbol handler!");
    if (openSymbols == nullptr)
        openSymbols = new OpenSymbols(process, refresh);
}

SymbolState* LockedSymbols::operator->() const noexcept { return &openSymbols->state; }

} // namespace kq::debug
