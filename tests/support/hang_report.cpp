// kq_hang_report PROCESS [THREAD]: prints the call stacks of the threads of a process, but for one.
// A program of its own, because whatever lock the process hangs in cannot stop it; the names come
// from the library's own dealings with debug-help.
#include "debug/platform_debug_help.h"

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

using kq::debug::CallStackEntry;

struct ProcessSymbols final : kq::debug::PlatformDebugHelp {
    explicit ProcessSymbols(HANDLE process) : PlatformDebugHelp(process, nullptr) { Open(true); }
    ~ProcessSymbols() { Close(); }
    ProcessSymbols(const ProcessSymbols&) = delete;
    ProcessSymbols& operator=(const ProcessSymbols&) = delete;
};

std::vector<DWORD> ThreadsOf(DWORD process) {
    std::vector<DWORD> threads;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL has = Thread32First(snapshot, &entry); has; has = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == process)
            threads.push_back(entry.th32ThreadID);
    CloseHandle(snapshot);
    return threads;
}

// The thread stands still meanwhile.
std::vector<CallStackEntry> StackOf(HANDLE process, HANDLE thread, ProcessSymbols& symbols) {
    constexpr std::size_t mostFrames = 100;
    std::vector<CallStackEntry> stack;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (!GetThreadContext(thread, &context))
        return stack;
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Rip, 0, AddrModeFlat};
    frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
    frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
    while (stack.size() != mostFrames &&
           StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, thread, &frame, &context, nullptr,
                       SymFunctionTableAccess64, SymGetModuleBase64, nullptr) &&
           frame.AddrPC.Offset != 0) {
        stack.emplace_back(frame.AddrPC.Offset);
        symbols.Resolve(stack.back());
    }
    return stack;
}

std::string Utf8(const std::wstring& text) {
    const int wide = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), wide, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), wide, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

void Print(DWORD threadId, HANDLE process, ProcessSymbols& symbols) {
    const HANDLE thread = OpenThread(THREAD_ALL_ACCESS, FALSE, threadId);
    if (thread == nullptr)
        return;
    SuspendThread(thread);
    const std::vector<CallStackEntry> stack = StackOf(process, thread, symbols);
    ResumeThread(thread);
    CloseHandle(thread);
    std::wostringstream text;
    text << L"thread " << threadId << L":\n" << stack << L"\n\n";
    const std::string bytes = Utf8(text.str());
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

DWORD Number(const char* text) { return std::strtoul(text, nullptr, 10); }

} // namespace

int main(int argc, char** argv) {
    const DWORD processId = argc > 1 ? Number(argv[1]) : 0;
    const DWORD leftOut = argc > 2 ? Number(argv[2]) : 0;
    const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId);
    if (process == nullptr) {
        std::fprintf(stderr,
                     "usage: kq_hang_report <process> [<thread>]; there is no process %lu\n",
                     processId);
        return 1;
    }
    {
        ProcessSymbols symbols(process);
        for (const DWORD thread : ThreadsOf(processId))
            if (thread != leftOut)
                Print(thread, process, symbols);
    }
    CloseHandle(process);
    return 0;
}
