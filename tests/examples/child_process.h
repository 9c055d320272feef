// A program started by another one.
#pragma once

#include <string>
#include <vector>

/// Starts `command` (program and arguments) with our own standard input and output, and with
/// `errorOutput`, an inheritable handle. Returns the process, and its number in `id`; ends this
/// program with a message when that fails.
void* StartProcess(const std::vector<std::wstring>& command, void* errorOutput,
                   unsigned long creationFlags, unsigned long& id);

/// Waits for the process, closes its handle, and returns its exit code.
int EndOfProcess(void* process);

/// Prints a message about this program's own failure, with the system's last error, and ends it
/// with a code that the programs under test do not use.
[[noreturn]] void FailHere(const char* message);
