// press_ctrl_c TEXT PROGRAM [ARGUMENTS]: runs a program and presses Ctrl-C for it as soon as TEXT
// has appeared on its error output. Passes that output on and ends with the program's exit code.
//
// Ctrl-C goes to all programs on a console, and only from one of them. So the program gets an
// invisible console of its own, and we join it for that one moment.
#include "child_process.h"

#include <windows.h>

namespace {

void PressCtrlC(unsigned long process) {
    FreeConsole();
    if (!AttachConsole(process))
        FailHere("cannot join the program's console");
    SetConsoleCtrlHandler(nullptr, TRUE); // this process ignores it
    if (!GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0))
        FailHere("cannot send Ctrl-C");
    // A console lives as long as anybody uses it, and it may hold the other end of our pipe.
    FreeConsole();
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 3)
        FailHere("a text and a program are needed");
    const Pipe output = MakePipe(&Pipe::readEnd);
    unsigned long id = 0;
    void* const process =
        StartProcess({arguments + 2, arguments + count}, output.writeEnd, CREATE_NO_WINDOW, id);
    CloseHandle(output.writeEnd);
    PassOn(output.readEnd, arguments[1], [id] { PressCtrlC(id); });
    return EndOfProcess(process);
}
