#include "child_process.h"

#include <windows.h>

#include <cstdio>

namespace {

/// Enough for arguments that hold no quotes and do not end with a backslash.
std::wstring Quoted(const std::vector<std::wstring>& command) {
    std::wstring line;
    for (const std::wstring& argument : command)
        line += L'"' + argument + L"\" ";
    return line;
}

} // namespace

void* StartProcess(const std::vector<std::wstring>& command, void* errorOutput,
                   unsigned long creationFlags, unsigned long& id) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = errorOutput;
    PROCESS_INFORMATION process{};
    std::wstring line = Quoted(command);
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, creationFlags, nullptr,
                        nullptr, &startup, &process))
        FailHere("cannot start the program");
    CloseHandle(process.hThread);
    id = process.dwProcessId;
    return process.hProcess;
}

int EndOfProcess(void* process) {
    DWORD code = 0;
    if (WaitForSingleObject(process, INFINITE) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(process, &code))
        FailHere("cannot wait for the program");
    CloseHandle(process);
    return static_cast<int>(code);
}

void FailHere(const char* message) {
    std::fprintf(stderr, "test helper: %s (error %lu)\n", message, GetLastError());
    ExitProcess(96);
}
