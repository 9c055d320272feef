#include "debug/symbol_state.h"

#include "debug/loaded_modules.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace kq::debug {

namespace {

// Some megabytes of names at most.
constexpr std::size_t mostResolved = 16'384;

bool Contains(const std::vector<std::uint64_t>& bases, std::uint64_t base) {
    return std::find(bases.begin(), bases.end(), base) != bases.end();
}

} // namespace

SymbolState::SymbolState(DebugHelp& help) : help_(help) {
    if (!help_.Open(false))
        throw std::runtime_error("Failed to initialize symbol handler!");
}

SymbolState::~SymbolState() { help_.Close(); }

void SymbolState::Refresh() {
    TouchedModules& reports = watch_.Touched();
    if (isCurrent_ && !reports.HasNews())
        return;
    const bool wasCurrent = std::exchange(isCurrent_, false);
    // What is reported after this is for the next refresh, whether or not the list has it already.
    const auto touched = reports.Take();
    const std::vector<std::uint64_t> loaded = LoadedModuleBases();
    resolved_.clear();
    if (help_.CanRefresh()) {
        DropModules(loaded, wasCurrent && touched ? &*touched : nullptr);
        help_.Refresh();
    } else {
        Reopen();
    }
    AddModules(loaded);
    isCurrent_ = true;
}

// Those that are gone, and those that may have been replaced at the same place; without `touched`,
// that is any.
void SymbolState::DropModules(const std::vector<std::uint64_t>& loaded,
                              const std::vector<std::uint64_t>* touched) {
    for (auto module = modules_.begin(); module != modules_.end();) {
        const std::uint64_t base = module->first;
        if (touched != nullptr && !Contains(*touched, base) && Contains(loaded, base)) {
            ++module;
            continue;
        }
        help_.UnloadModule(base);
        module = modules_.erase(module);
    }
}

void SymbolState::Reopen() {
    modules_.clear();
    if (!help_.Close() || !help_.Open(true))
        throw std::runtime_error("Failed to refresh module list!");
}

void SymbolState::AddModules(const std::vector<std::uint64_t>& loaded) {
    for (const std::uint64_t base : loaded) {
        if (modules_.count(base) != 0)
            continue;
        const auto module = FindLoadedModule(base);
        if (!module)
            continue;
        if (!help_.HasModule(base))
            help_.LoadModule(module->file, base, module->size);
        modules_.emplace(base, base + module->size);
    }
}

void SymbolState::Walk(CONTEXT& context, std::vector<CallStackEntry>& stack) {
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Rip, 0, AddrModeFlat};
    frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
    frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
    for (bool isFirst = true; isFirst || frame.AddrReturn.Offset != 0; isFirst = false) {
        const std::uint64_t previousStack = frame.AddrStack.Offset;
        const std::uint64_t previous = frame.AddrPC.Offset;
        const bool isRead = help_.WalkFrame(frame, context, modules_);
        const std::uint64_t address = frame.AddrPC.Offset;
        // A damaged stack may lead from a frame to itself, for ever.
        const bool stands =
            !isFirst && address == previous && frame.AddrStack.Offset == previousStack;
        if (!isRead || stands)
            throw std::runtime_error("Failed to walk the call stack!");
        if (!isFirst && address != 0 && address != frame.AddrReturn.Offset)
            stack.push_back(Resolve(address));
    }
}

const CallStackEntry& SymbolState::Resolve(std::uint64_t address) {
    const auto known = resolved_.find(address);
    if (known != resolved_.end())
        return known->second;
    CallStackEntry entry(address);
    help_.Resolve(entry);
    if (resolved_.size() >= mostResolved)
        resolved_.clear();
    return resolved_.emplace(address, std::move(entry)).first->second;
}

} // namespace kq::debug
