// A process that loads libraries and tells what that cost.
//
//     process_child all LIBRARY...        loads them
//     process_child last LIBRARY...       loads them, and only the last counts
//     process_child shutdown LIBRARY...   loads them, and shuts kq down, the last of them
//
// The exit code is the number of microseconds, or 0 when something failed.
#include "stopwatch.h"

#include <windows.h>

#include <cstring>
#include <initializer_list>

namespace {

constexpr double nanosecondsPerMicrosecond = 1000;

template <class Work>
int Microseconds(Work work) {
    const bench::Stopwatch watch;
    const bool isDone = work();
    return isDone ? 1 + static_cast<int>(watch.Nanoseconds() / nanosecondsPerMicrosecond) : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 0;
    HMODULE library = nullptr;
    int all = 0;
    int last = 0;
    for (int argument = 2; argument != argc; ++argument) {
        last = Microseconds([&] {
            library = LoadLibraryA(argv[argument]);
            return library != nullptr;
        });
        if (last == 0)
            return 0;
        all += last;
    }
    if (std::strcmp(argv[1], "all") == 0)
        return all;
    if (std::strcmp(argv[1], "last") == 0)
        return last;
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
