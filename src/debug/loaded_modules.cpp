#include "debug/loaded_modules.h"

#include <windows.h>

#include <psapi.h>

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace kq::debug {

std::vector<std::uint64_t> LoadedModuleBases() {
    constexpr std::size_t atFirst = 256;
    // The list may change under the one who reads it, which then fails.
    constexpr int attempts = 100;
    std::vector<HMODULE> modules(atFirst);
    for (int attempt = 0; attempt != attempts; ++attempt) {
        DWORD needed = 0;
        if (!EnumProcessModules(GetCurrentProcess(), modules.data(),
                                static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &needed))
            continue;
        const std::size_t count = needed / sizeof(HMODULE);
        if (count > modules.size()) {
            modules.resize(2 * count);
            continue;
        }
        std::vector<std::uint64_t> bases;
        bases.reserve(count);
        for (std::size_t index = 0; index != count; ++index)
            bases.push_back(reinterpret_cast<std::uint64_t>(modules[index]));
        return bases;
    }
    throw std::runtime_error("Failed to refresh module list!");
}

std::optional<LoadedModule> FindLoadedModule(std::uint64_t base) {
    constexpr DWORD longestPath = 32768;
    auto* const module = reinterpret_cast<HMODULE>(base);
    MODULEINFO info{};
    if (!GetModuleInformation(GetCurrentProcess(), module, &info, sizeof(info)))
        return std::nullopt;
    std::wstring file(longestPath, L'\0');
    const DWORD length = GetModuleFileNameW(module, file.data(), longestPath);
    if (length == 0)
        return std::nullopt;
    file.resize(length);
    return LoadedModule{std::move(file), info.SizeOfImage};
}

} // namespace kq::debug
