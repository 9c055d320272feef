// pause_and_resume TEXT PROGRAM [ARGUMENTS]: runs a program whose standard input is a pipe with a P
// in it. When TEXT has appeared on its error output, makes sure that nothing happens for a while,
// and writes an R. Passes that output on and ends with the program's exit code.
#include "child_process.h"

#include <windows.h>

namespace {

void Type(const Pipe& keys, char key) {
    DWORD written = 0;
    if (WriteFile(keys.writeEnd, &key, 1, &written, nullptr) == FALSE)
        FailHere("cannot write a key");
}

void ExpectRest(void* process, const Pipe& output) {
    constexpr DWORD milliseconds = 1'000;
    if (WaitForSingleObject(process, milliseconds) != WAIT_TIMEOUT)
        FailHere("the program has ended instead of being paused");
    DWORD available = 0;
    if (PeekNamedPipe(output.readEnd, nullptr, 0, nullptr, &available, nullptr) == FALSE ||
        available > 0)
        FailHere("the program has gone on instead of being paused");
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 3)
        FailHere("a text and a program are needed");
    const Pipe keys = MakePipe(&Pipe::writeEnd);
    const Pipe output = MakePipe(&Pipe::readEnd);
    Type(keys, 'P');
    SetStdHandle(STD_INPUT_HANDLE, keys.readEnd);
    unsigned long id = 0;
    void* const process = StartProcess({arguments + 2, arguments + count}, output.writeEnd, 0, id);
    CloseHandle(keys.readEnd);
    CloseHandle(output.writeEnd);
    PassOn(output.readEnd, arguments[1], [&] {
        ExpectRest(process, output);
        Type(keys, 'R');
    });
    return EndOfProcess(process);
}
