// Scenarios: test cases that are a whole process, from its start to its end.
//
// A scenario counts only when its process has printed the closing line and has ended by itself with
// `cleanExit`. A fault or a call of std::terminate at any time, also when main has returned, ends
// the process with another code. run.cmake is the judge.
#pragma once

#include <cstdint>

namespace scenario {

/// The exit code that nothing but a clean end yields.
constexpr int cleanExit = 41;

/// Prints the closing line: the last thing that a scenario does before its process ends. Usable on
/// any thread and at any time.
void Close() noexcept;

/// A number that differs between the repeated runs of one scenario, for random schedules.
std::uint32_t Seed() noexcept;

/// Ends the process as failed.
[[noreturn]] void Fail(const char* file, int line, const char* what) noexcept;

/// Makes a scenario known to main, which runs the one that the command line names and then returns
/// `cleanExit`.
class Entry {
public:
    Entry(const char* name, void (*run)()) noexcept;

    const char* const name;
    void (*const run)();
    const Entry* const next;
};

} // namespace scenario

/// Begins the definition of a scenario: SCENARIO(what_happens) { ... }
#define SCENARIO(name)                                     \
    static void name();                                    \
    static const scenario::Entry name##Entry(#name, name); \
    static void name()

/// Ends the process as failed unless the condition holds.
#define CHECK(condition) \
    ((condition) ? static_cast<void>(0) : scenario::Fail(__FILE__, __LINE__, #condition))
