// drive_duplicate_finder PROGRAM SCENARIO [ARGUMENTS]: does with the desktop program what a user
// does, and ends with "drive: all is well".
#include "scenarios.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int wmain(int count, wchar_t** arguments) {
    if (count < 3)
        return 96;
    _setmode(_fileno(stdout), _O_BINARY); // a script reads it
    const std::wstring program = arguments[1];
    const std::wstring name = arguments[2];
    const std::vector<std::wstring> rest(arguments + 3, arguments + count);
    try {
        for (const Scenario& scenario : scenarios) {
            if (name != scenario.name)
                continue;
            scenario.play(program, rest);
            std::printf("drive: all is well\n");
            return 0;
        }
        std::printf("drive: no such scenario\n");
    } catch (const std::exception& failure) {
        std::printf("drive: %s\n", failure.what());
    }
    return 1;
}
