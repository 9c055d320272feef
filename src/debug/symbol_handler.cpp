#include <kq/debug/symbol_handler.h>

#include "debug/process_symbols.h"

#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <exception>
#include <stdexcept>
#include <utility>

namespace kq::debug {

namespace {

// The frame that the walk starts in and leaves out. It has to be there until the walk is over, so
// the registers are captured here and nowhere deeper.
[[gnu::noinline]] void WalkCallers(LockedSymbols& symbols, std::vector<CallStackEntry>& stack) {
    symbols->Refresh();
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    RtlCaptureContext(&context);
    symbols->Walk(context, stack);
}

struct NameCollection {
    std::set<std::string> names;
    std::exception_ptr failure;
};

// Debug-help is no place for an exception to go through.
BOOL CALLBACK CollectName(const char* name, DWORD64 /*base*/, ULONG /*size*/, void* context) {
    auto& collection = *static_cast<NameCollection*>(context);
    try {
        collection.names.insert(name);
    } catch (...) {
        collection.failure = std::current_exception();
    }
    return TRUE;
}

} // namespace

Singleton<SymbolHandler, boost::shared_ptr> symbolHandler;

SymbolHandler::SymbolHandler(void* const& process)
    : process_(process), symRefreshModuleList_(LoadSymRefreshSymbolList()) {
    AcquireSymbols();
}

SymbolHandler::~SymbolHandler() { ReleaseSymbols(); }

shared_ref<SymbolHandler, boost::shared_ptr> SymbolHandler::Create() {
    return boost::shared_ptr<SymbolHandler>(new SymbolHandler(GetCurrentProcess()), &Destroy);
}

void SymbolHandler::Destroy(SymbolHandler* handler) { delete handler; }

SymbolHandler::RefreshFunction SymbolHandler::LoadSymRefreshSymbolList() {
    auto* const debugHelp = GetModuleHandleW(L"dbghelp.dll");
    if (debugHelp == nullptr)
        return nullptr;
    return reinterpret_cast<RefreshFunction>(
        reinterpret_cast<void*>(GetProcAddress(debugHelp, "SymRefreshModuleList")));
}

// Has to be on the stack itself while it is walked: nobody else's code, and no jump instead of the
// call.
[[gnu::noinline]] std::vector<CallStackEntry> SymbolHandler::GetCallStack() {
    std::vector<CallStackEntry> stack;
    LockedSymbols symbols(process_, symRefreshModuleList_);
    WalkCallers(symbols, stack);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return stack;
}

void SymbolHandler::RefreshModuleList() {
    const LockedSymbols symbols(process_, symRefreshModuleList_);
    symbols->Refresh();
}

std::set<std::string> GetLoadedModuleNames() {
    NameCollection collection;
    if (!EnumerateLoadedModules64(GetCurrentProcess(), CollectName, &collection))
        throw std::runtime_error("Failed to enumerate loaded modules!");
    if (collection.failure)
        std::rethrow_exception(collection.failure);
    return std::move(collection.names);
}

} // namespace kq::debug
