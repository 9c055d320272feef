// The modules that the loader has in this process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kq::debug {

/// The bases of all loaded modules. Throws `std::runtime_error("Failed to refresh module list!")`.
std::vector<std::uint64_t> LoadedModuleBases();

/// A loaded module.
struct LoadedModule {
    std::wstring file;
    std::uint32_t size;
};

/// The module at `base`; nothing when it has been unloaded meanwhile.
std::optional<LoadedModule> FindLoadedModule(std::uint64_t base);

} // namespace kq::debug
