// A process that loads libraries and tells what that cost.
//
//     process_child all LIBRARY...        loads them
//     process_child last LIBRARY...       loads them, and only the last counts
//     process_child shutdown LIBRARY...   loads them, and shuts kq down, the last of them
//     process_child window LIBRARY...     loads them, and makes the first window, a message-only
//     one
//
// The exit code is the number of microseconds, or 0 when something failed.
#include "stopwatch.h"

#include <windows.h>

#include <cstddef>
#include <initializer_list>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr double nanosecondsPerMicrosecond = 1000;

template <class Work>
int Microseconds(Work work) {
    const bench::Stopwatch watch;
    const bool isDone = work();
    return isDone ? 1 + static_cast<int>(watch.Nanoseconds() / nanosecondsPerMicrosecond) : 0;
}

} // namespace

// With streams and strings, so that the run-time library is there already, as in any C++ program.
int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 2) {
        std::cerr << "process_child all|last|shutdown|window LIBRARY...\n";
        return 0;
    }
    HMODULE library = nullptr;
    int all = 0;
    int last = 0;
    for (std::size_t i = 1; i != arguments.size(); ++i) {
        last = Microseconds([&] {
            library = LoadLibraryA(arguments[i].c_str());
            return library != nullptr;
        });
        if (last == 0)
            return 0;
        all += last;
    }
    if (arguments[0] == "all")
        return all;
    if (arguments[0] == "last")
        return last;
    if (arguments[0] == "window")
        return Microseconds([] {
            return CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                   nullptr) != nullptr;
        });
    // void kq::Shutdown(), by either compiler's name.
    for (const char* const name : {"_ZN2kq8ShutdownEv", "?Shutdown@kq@@YAXXZ"})
        if (const auto shutdown = reinterpret_cast<void (*)()>(
                reinterpret_cast<void*>(GetProcAddress(library, name))))
            return Microseconds([=] {
                shutdown();
                return true;
            });
    return 0;
}
