// run_holding FILE PROGRAM [ARGUMENTS]: runs a program while FILE is open here and shared with
// nobody, so that no other process can open it. Ends with the program's exit code.
#include "child_process.h"

#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    if (count < 3)
        FailHere("a file and a program are needed");
    const HANDLE file =
        CreateFileW(arguments[1], GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        FailHere("cannot open the file");
    unsigned long id = 0;
    void* const process =
        StartProcess({arguments + 2, arguments + count}, GetStdHandle(STD_ERROR_HANDLE), 0, id);
    const int code = EndOfProcess(process);
    CloseHandle(file);
    return code;
}
