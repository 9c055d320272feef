#include "child_process.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

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
    // Under Wine a new process dies once in a thousand times before it has loaded its program.
    for (int attempt = 1; CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                                         creationFlags, nullptr, nullptr, &startup, &process) == 0;
         ++attempt)
        if (GetLastError() != ERROR_INTERNAL_ERROR || attempt == 3)
            FailHere("cannot start the program");
    CloseHandle(process.hThread);
    EndWithUs(process.hProcess);
    id = process.dwProcessId;
    return process.hProcess;
}

Pipe MakePipe(void* Pipe::*ours) {
    Pipe pipe;
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    if (CreatePipe(&pipe.readEnd, &pipe.writeEnd, &inheritable, 0) == FALSE ||
        SetHandleInformation(pipe.*ours, HANDLE_FLAG_INHERIT, 0) == FALSE)
        FailHere("cannot make a pipe");
    return pipe;
}

void PassOn(void* readEnd, const std::wstring& text, const std::function<void()>& then) {
    const std::string expected(text.begin(), text.end());
    _setmode(_fileno(stderr), _O_BINARY); // the lines have their ends already
    std::string written;
    bool hasAppeared = false;
    char buffer[512];
    DWORD length = 0;
    while (ReadFile(readEnd, buffer, sizeof buffer, &length, nullptr) != FALSE && length > 0) {
        std::fwrite(buffer, 1, length, stderr);
        written.append(buffer, length);
        if (!hasAppeared && written.find(expected) != std::string::npos) {
            hasAppeared = true;
            then();
        }
    }
    if (!hasAppeared)
        FailHere("the text did not appear");
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
