// pause_and_resume TEXT PROGRAM [ARGUMENTS]: runs a program whose standard input is a pipe with a P
// in it. When TEXT has appeared on its error output, makes sure that nothing happens for a while,
// and writes an R. Passes that output on and ends with the program's exit code.
#include "child_process.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>

namespace {

struct Pipe {
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
};

/// A pipe of which the program gets the one end, and we keep `ours`.
Pipe MakePipe(HANDLE Pipe::*ours) {
    Pipe pipe;
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    if (!CreatePipe(&pipe.readEnd, &pipe.writeEnd, &inheritable, 0) ||
        !SetHandleInformation(pipe.*ours, HANDLE_FLAG_INHERIT, 0))
        FailHere("cannot make a pipe");
    return pipe;
}

void Type(const Pipe& keys, char key) {
    DWORD written = 0;
    if (!WriteFile(keys.writeEnd, &key, 1, &written, nullptr))
        FailHere("cannot write a key");
}

void ExpectRest(void* process, const Pipe& output) {
    constexpr DWORD milliseconds = 1'000;
    if (WaitForSingleObject(process, milliseconds) != WAIT_TIMEOUT)
        FailHere("the program has ended instead of being paused");
    DWORD available = 0;
    if (!PeekNamedPipe(output.readEnd, nullptr, 0, nullptr, &available, nullptr) || available > 0)
        FailHere("the program has gone on instead of being paused");
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 3)
        FailHere("a text and a program are needed");
    const std::wstring wideText = arguments[1];
    const std::string text(wideText.begin(), wideText.end());

    const Pipe keys = MakePipe(&Pipe::writeEnd);
    const Pipe output = MakePipe(&Pipe::readEnd);
    Type(keys, 'P');
    SetStdHandle(STD_INPUT_HANDLE, keys.readEnd);
    unsigned long id = 0;
    void* const process = StartProcess({arguments + 2, arguments + count}, output.writeEnd, 0, id);
    CloseHandle(keys.readEnd);
    CloseHandle(output.writeEnd);

    _setmode(_fileno(stderr), _O_BINARY); // the program has written its line ends already
    std::string written;
    bool resumed = false;
    char buffer[512];
    DWORD length = 0;
    while (ReadFile(output.readEnd, buffer, sizeof buffer, &length, nullptr) && length > 0) {
        std::fwrite(buffer, 1, length, stderr);
        written.append(buffer, length);
        if (!resumed && written.find(text) != std::string::npos) {
            resumed = true;
            ExpectRest(process, output);
            Type(keys, 'R');
        }
    }
    if (!resumed)
        FailHere("the text did not appear");
    return EndOfProcess(process);
}
