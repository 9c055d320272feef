#include "process/scenario.h"

#include "support/hang_guard.h"

#include <windows.h>

#include <psapi.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

namespace scenario {

namespace {

constexpr std::uint32_t secondsUntilHang = 300;
constexpr UINT exitOfFailure = 96;
constexpr UINT exitOfFault = 97;
constexpr UINT exitOfTerminate = 98;
constexpr int exitOfUnknownName = 99;

const Entry* entries = nullptr;
const char* current = "";
std::uint32_t seed = 0;

// Straight to the system: other threads may have been killed with the locks of stdio in their
// hands.
void Print(const std::string& line) noexcept {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()),
              &written, nullptr);
}

std::string Hex(std::uint64_t number) {
    char text[17] = "";
    _ui64toa(number, text, 16);
    return text;
}

[[noreturn]] void End(UINT code) noexcept {
    TerminateProcess(GetCurrentProcess(), code);
    std::abort();
}

// Sees a fault before anybody can swallow it: the loader calls DllMain inside a handler of its own,
// so that an unhandled-exception filter would never hear of a crash during process detach.
LONG CALLBACK EndOnFault(EXCEPTION_POINTERS* pointers) {
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    constexpr DWORD severityOfErrors = 3;
    if (code >> 30 != severityOfErrors)
        return EXCEPTION_CONTINUE_SEARCH; // a C++ exception or a message to the debugger
    const void* const place = pointers->ExceptionRecord->ExceptionAddress;
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQuery(place, &memory, sizeof(memory));
    char path[MAX_PATH] = "";
    K32GetMappedFileNameA(GetCurrentProcess(), const_cast<void*>(place), path, MAX_PATH);
    Print(std::string(current) + ": fault 0x" + Hex(code) + " at " +
          Hex(reinterpret_cast<std::uintptr_t>(place)) + ", in what begins at " +
          Hex(reinterpret_cast<std::uintptr_t>(memory.AllocationBase)) + " " + path + "\n");
    End(exitOfFault);
}

[[noreturn]] void EndOnTerminate() {
    Print(std::string(current) + ": std::terminate was called\n");
    End(exitOfTerminate);
}

} // namespace

Entry::Entry(const char* theName, void (*theRun)()) noexcept
    : name(theName), run(theRun), next(entries) {
    entries = this;
}

void Close() noexcept { Print(std::string(current) + ": closed\n"); }

std::uint32_t Seed() noexcept { return seed; }

void Fail(const char* file, int line, const char* what) noexcept {
    Print(std::string(file) + ":" + std::to_string(line) + ": does not hold: " + what + "\n");
    End(exitOfFailure);
}

} // namespace scenario

int main(int argc, char** argv) {
    using namespace scenario;
    AddVectoredExceptionHandler(1, EndOnFault);
    std::set_terminate(EndOnTerminate);
    const Entry* entry = entries;
    while (entry != nullptr && (argc < 2 || std::strcmp(entry->name, argv[1]) != 0))
        entry = entry->next;
    if (entry == nullptr) {
        Print("usage: <scenario> [seed]; there is no scenario of that name\n");
        return exitOfUnknownName;
    }
    // Before any scenario touches the library; a guard is no help when the end of the process
    // hangs.
    kq_test::StartHangGuard(secondsUntilHang);
    current = entry->name;
    seed = argc > 2 ? static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10)) : 1;
    entry->run();
    return cleanExit;
}
