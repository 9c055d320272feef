#include "debug/platform_debug_help.h"

#include "debug/readable_name.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kq::debug {

namespace {

// StackWalk64 gives its callbacks nothing of their own. A walk runs under the symbol lock.
const ModuleRanges* walkedModules = nullptr;

// The memory that a walk reads is the stack of the calling thread, which this thread keeps there,
// and the images of the modules that have frames on it, which cannot go while they have. Whatever a
// damaged stack points at is read through the system, which does not fault; that costs many times
// as much.
BOOL CALLBACK ReadMemory(HANDLE process, DWORD64 address, void* buffer, DWORD size,
                         DWORD* sizeRead) {
    ULONG_PTR reserved = 0;
    ULONG_PTR end = 0;
    GetCurrentThreadStackLimits(&reserved, &end);
    // All from here up has been in use, and so is there.
    const auto lowest = reinterpret_cast<std::uint64_t>(&reserved);
    const bool isStack = address >= lowest && address < end && size <= end - address;
    if (isStack || BaseOf(*walkedModules, address, size) != 0) {
        std::memcpy(buffer, reinterpret_cast<const void*>(address), size);
        *sizeRead = size;
        return TRUE;
    }
    SIZE_T copied = 0;
    const BOOL isRead =
        ReadProcessMemory(process, reinterpret_cast<const void*>(address), buffer, size, &copied);
    *sizeRead = static_cast<DWORD>(copied);
    return isRead;
}

// Code outside every module is made at run time; whoever made it has told the system how to unwind
// it.
void* CALLBACK FunctionEntryAt(HANDLE process, DWORD64 address) {
    if (BaseOf(*walkedModules, address) != 0)
        return SymFunctionTableAccess64(process, address);
    DWORD64 base = 0;
    return RtlLookupFunctionEntry(address, &base, nullptr);
}

DWORD64 CALLBACK ModuleBaseAt(HANDLE /*process*/, DWORD64 address) {
    DWORD64 base = BaseOf(*walkedModules, address);
    if (base == 0)
        RtlLookupFunctionEntry(address, &base, nullptr);
    return base;
}

std::string SymbolAt(void* process, std::uint64_t address) {
    constexpr std::size_t longestName = 1024;
    struct {
        SYMBOL_INFO info;
        char restOfName[longestName];
    } symbol{};
    symbol.info.SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol.info.MaxNameLen = longestName;
    DWORD64 displacement = 0;
    if (!SymFromAddr(process, address, &displacement, &symbol.info))
        return {};
    // The length is that of the whole name, also when it was cut.
    const auto* const name = reinterpret_cast<const char*>(&symbol) + offsetof(SYMBOL_INFO, Name);
    const std::size_t length = std::min<std::size_t>(symbol.info.NameLen, longestName);
    return ReadableName(std::string(name, strnlen(name, length)));
}

std::wstring ModuleAt(void* process, std::uint64_t address) {
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    if (!SymGetModuleInfoW64(process, address, &module))
        return {};
    return module.ImageName;
}

void FillInLine(void* process, CallStackEntry& entry) {
    IMAGEHLP_LINE64 line{};
    line.SizeOfStruct = sizeof(line);
    DWORD displacement = 0;
    if (!SymGetLineFromAddr64(process, entry.address, &displacement, &line))
        return;
    entry.fileName = line.FileName;
    entry.lineNumber = line.LineNumber;
    entry.lineDisplacement = displacement;
}

} // namespace

bool PlatformDebugHelp::Open(bool withModules) noexcept {
    SymSetOptions(SymGetOptions() | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS | SYMOPT_UNDNAME |
                  SYMOPT_FAIL_CRITICAL_ERRORS | SYMOPT_NO_PROMPTS);
    return SymInitialize(process_, nullptr, withModules ? TRUE : FALSE) != FALSE;
}

bool PlatformDebugHelp::Close() noexcept { return SymCleanup(process_) != FALSE; }

bool PlatformDebugHelp::HasModule(std::uint64_t base) noexcept {
    return SymGetModuleBase64(process_, base) == base;
}

void PlatformDebugHelp::LoadModule(const std::wstring& file, std::uint64_t base,
                                   std::uint32_t size) noexcept {
    SymLoadModuleExW(process_, nullptr, file.c_str(), nullptr, base, size, nullptr, 0);
}

void PlatformDebugHelp::UnloadModule(std::uint64_t base) noexcept {
    SymUnloadModule64(process_, base);
}

void PlatformDebugHelp::Resolve(CallStackEntry& entry) {
    entry.symbolName = SymbolAt(process_, entry.address);
    entry.moduleName = ModuleAt(process_, entry.address);
    FillInLine(process_, entry);
}

bool PlatformDebugHelp::WalkFrame(STACKFRAME64& frame, CONTEXT& context,
                                  const ModuleRanges& modules) noexcept {
    walkedModules = &modules;
    return StackWalk64(IMAGE_FILE_MACHINE_AMD64, process_, GetCurrentThread(), &frame, &context,
                       ReadMemory, FunctionEntryAt, ModuleBaseAt, nullptr) != FALSE;
}

} // namespace kq::debug
