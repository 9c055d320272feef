#include "debug/walk_loop.h"

#include <windows.h>

#include <dbghelp.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

using kq::debug::CallStackEntry;

BOOL CALLBACK CopyMemoryOfThisProcess(HANDLE process, DWORD64 address, void* buffer, DWORD size,
                                      DWORD* sizeRead) {
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    const bool isStack =
        address >= reinterpret_cast<DWORD64>(&low) && address < high && size <= high - address;
    if (isStack || SymGetModuleBase64(process, address) != 0) {
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

void LookUp(HANDLE process, CallStackEntry& entry) {
    constexpr std::size_t longestName = 1024;
    alignas(SYMBOL_INFO) char buffer[sizeof(SYMBOL_INFO) + longestName] = {};
    auto* const symbol = reinterpret_cast<SYMBOL_INFO*>(buffer);
    symbol->SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol->MaxNameLen = longestName;
    DWORD64 displacement = 0;
    if (SymFromAddr(process, entry.address, &displacement, symbol))
        entry.symbolName = symbol->Name;
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    if (SymGetModuleInfoW64(process, entry.address, &module))
        entry.moduleName = module.ImageName;
    IMAGEHLP_LINE64 line{};
    line.SizeOfStruct = sizeof(line);
    DWORD lineDisplacement = 0;
    if (SymGetLineFromAddr64(process, entry.address, &lineDisplacement, &line)) {
        entry.fileName = line.FileName;
        entry.lineNumber = line.LineNumber;
        entry.lineDisplacement = lineDisplacement;
    }
}

} // namespace

std::vector<CallStackEntry> WalkLoop(MemoryReader reader) {
    std::vector<CallStackEntry> stack;
    const HANDLE process = GetCurrentProcess();
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    RtlCaptureContext(&context);
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Rip, 0, AddrModeFlat};
    frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
    frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
    do {
        if (!StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, GetCurrentThread(), &frame, &context,
                         reader == MemoryReader::Copying ? CopyMemoryOfThisProcess : nullptr,
                         SymFunctionTableAccess64, SymGetModuleBase64, nullptr))
            throw std::runtime_error("the peer cannot walk the stack");
        stack.emplace_back(frame.AddrPC.Offset);
        LookUp(process, stack.back());
    } while (frame.AddrReturn.Offset != 0);
    return stack;
}

} // namespace bench
