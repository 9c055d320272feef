// The platform's debug-help.
#pragma once

#include "debug/debug_help.h"

namespace kq::debug {

/// Calls the platform's functions for the symbol state of `process`, which is this process.
class PlatformDebugHelp : public DebugHelp {
public:
    using RefreshFunction = int (*)(void* process);

    /// `refresh` is the platform's `SymRefreshModuleList`, or null when it has none.
    PlatformDebugHelp(void* process, RefreshFunction refresh) noexcept
        : process_(process), refresh_(refresh) {}

    bool Open(bool withModules) noexcept override;
    bool Close() noexcept override;
    bool CanRefresh() const noexcept override { return refresh_ != nullptr; }
    void Refresh() noexcept override { refresh_(process_); }
    bool HasModule(std::uint64_t base) noexcept override;
    void LoadModule(const std::wstring& file, std::uint64_t base,
                    std::uint32_t size) noexcept override;
    void UnloadModule(std::uint64_t base) noexcept override;
    void Resolve(CallStackEntry& entry) override;
    bool WalkFrame(STACKFRAME64& frame, CONTEXT& context,
                   const ModuleRanges& modules) noexcept override;

protected:
    ~PlatformDebugHelp() = default;

private:
    void* process_;
    RefreshFunction refresh_;
};

} // namespace kq::debug
