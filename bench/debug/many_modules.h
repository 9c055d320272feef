// A process with many modules.
#pragma once

#include <windows.h>

#include <kq/debug/symbol_handler.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

/// Loads copies of the library beside the program, each from a file of its own, as long as this
/// object lives.
class ManyModules {
public:
    explicit ManyModules(std::size_t count) {
        constexpr DWORD longestPath = 1024;
        wchar_t folder[longestPath] = L"";
        GetTempPathW(longestPath, folder);
        const std::wstring beginning =
            folder + (L"kq-bench-" + std::to_wstring(GetCurrentProcessId())) + L"-";
        for (std::size_t number = 0; number != count; ++number)
            Load(beginning + std::to_wstring(number) + L".dll");
    }
    ~ManyModules() {
        for (const HMODULE module : modules_)
            FreeLibrary(module);
        // Debug-help holds on to the files until it hears of that.
        kq::debug::symbolHandler->RefreshModuleList();
        for (const std::wstring& file : files_)
            DeleteFileW(file.c_str());
    }
    ManyModules(const ManyModules&) = delete;
    ManyModules& operator=(const ManyModules&) = delete;

private:
    void Load(const std::wstring& file) {
        wchar_t program[MAX_PATH] = L"";
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        const std::wstring path = program;
        const std::wstring library =
            path.substr(0, path.find_last_of(L'\\') + 1) + L"bench_library.dll";
        if (!CopyFileW(library.c_str(), file.c_str(), FALSE))
            throw std::runtime_error("cannot copy the library");
        files_.push_back(file);
        const HMODULE module = LoadLibraryW(file.c_str());
        if (module == nullptr)
            throw std::runtime_error("cannot load the library");
        modules_.push_back(module);
    }

    std::vector<std::wstring> files_;
    std::vector<HMODULE> modules_;
};

} // namespace bench
