// A program started by another one.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// Starts `command` (program and arguments) with our own standard input and output, and with
/// `errorOutput`, an inheritable handle. Returns the process, and its number in `id`; ends this
/// program with a message when that fails.
void* StartProcess(const std::vector<std::wstring>& command, void* errorOutput,
                   unsigned long creationFlags, unsigned long& id);

struct Pipe {
    void* readEnd = nullptr;
    void* writeEnd = nullptr;
};

/// Makes a pipe; the program that is started gets the one end, and we keep `ours`.
Pipe MakePipe(void* Pipe::*ours);

/// Writes what comes from the pipe, to its end, to our own error output; calls `then` as soon as
/// `text` has appeared in it. Ends this program with a message when it never does.
void PassOn(void* readEnd, const std::wstring& text, const std::function<void()>& then);

/// Waits for the process, closes its handle, and returns its exit code.
int EndOfProcess(void* process);

/// Prints a message about this program's own failure, with the system's last error, and ends it
/// with a code that the programs under test do not use.
[[noreturn]] void FailHere(const char* message);
