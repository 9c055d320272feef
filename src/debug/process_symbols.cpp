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
// A plain pointer, because nothing may be destroyed at process exit.
OpenSymbols* openSymbols KQ_GUARDED_BY(symbolLock) = nullptr;
std::size_t users KQ_GUARDED_BY(symbolLock) = 0;

void Close() noexcept KQ_REQUIRES(symbolLock) { delete std::exchange(openSymbols, nullptr); }

} // namespace

void AcquireSymbols() noexcept {
    const thread::SurvivingLock lock(symbolLock);
    if (lock.IsHeld())
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

// Unchecked because the check does not follow a lock that is a member.
LockedSymbols::LockedSymbols(void* process, RefreshFunction refresh) KQ_UNCHECKED_LOCKING
    : lock_(symbolLock) {
    if (!lock_.IsHeld())
        throw std::runtime_error("Failed to initialize symbol handler!");
    if (openSymbols == nullptr)
        openSymbols = new OpenSymbols(process, refresh);
    state_ = &openSymbols->state;
}

} // namespace kq::debug
