#include "process/rows.h"
#include "require.h"
#include "table.h"

#include <windows.h>

#include <string>

namespace bench {

namespace {

std::wstring ChildProgram() {
    wchar_t program[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"process_child.exe";
}

/// Milliseconds that a process of its own has measured.
double InChild(const std::wstring& arguments) {
    std::wstring command = L"\"" + ChildProgram() + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    Require(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &process) != FALSE,
            "a process begins");
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD microseconds = 0;
    GetExitCodeProcess(process.hProcess, &microseconds);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    constexpr DWORD tooLong = 60'000'000; // also the codes of crashes
    Require(microseconds != 0 && microseconds < tooLong, "a process does its work");
    return microseconds / 1000.0;
}

} // namespace

void Life() {
    // What kq.dll imports, without the run-time library.
    const std::wstring needs =
        L" advapi32.dll dbghelp.dll ole32.dll oleaut32.dll rpcrt4.dll "
        L"user32.dll winmm.dll";
    const std::wstring kq = L" kq.dll";
    const std::wstring empty = L" bench_library.dll";
    Row load("Load kq.dll into a process with the system's libraries", "ms");
    load.Enter("kq.dll", [=] { return InChild(L"last" + needs + kq); });
    load.EnterLimit("an empty library", [=] { return InChild(L"last" + needs + empty); });
    load.EnterLimit("a message-only window", [=] { return InChild(L"window" + needs); });
    load.AimAtMost(5);
    Row loadAll("Load kq.dll with the system's libraries", "ms");
    loadAll.Enter("kq.dll", [=] { return InChild(L"all" + kq); });
    loadAll.EnterLimit("these libraries alone", [=] { return InChild(L"all" + needs); });
    Row shutdown("Shutdown() of an idle process", "ms");
    shutdown.Enter("kq::Shutdown", [=] { return InChild(L"shutdown" + kq); });
    shutdown.AimAtMost(10);
    Measure({&load, &loadAll, &shutdown}, 15);
    load.Report();
    loadAll.Report();
    shutdown.Report();
}

} // namespace bench
