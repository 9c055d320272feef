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

/// When this program is ended from outside, as by a time-out, the process does not stay behind.
void EndWithUs(HANDLE process) {
    HANDLE job = CreateJobObjectW(nullptr, nullptr); // closed by the end of this program
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job == nullptr ||
        SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits) ==
            0 ||
        AssignProcessToJobObject(job, process) == 0)
        FailHere("cannot tie the program to this one");
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
    EndWithUs(process.hProcess);
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
