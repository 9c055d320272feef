#include "support/hang_guard.h"

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace kq_test {

namespace {

constexpr DWORD reportLimitMilliseconds = 30'000;
constexpr DWORD milliseconds = 1'000;

// No allocation here, and nothing else that needs a lock that a hanging thread may hold.
bool MakeCommand(wchar_t (&command)[2 * MAX_PATH], DWORD reporter) noexcept {
    wchar_t program[MAX_PATH] = L"";
    const DWORD length = GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (length == 0 || length == MAX_PATH)
        return false;
    wchar_t* const name = std::wcsrchr(program, L'\\');
    if (name == nullptr)
        return false;
    *name = L'\0';
    return std::swprintf(command, std::size_t{2} * MAX_PATH, L"\"%ls\\kq_hang_report.exe\" %lu %lu",
                         program, GetCurrentProcessId(), reporter) > 0;
}

/// `reporter` is a thread that is left out; 0: none.
void PrintStacks(DWORD reporter) noexcept {
    wchar_t command[2 * MAX_PATH];
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION report{};
    if (!MakeCommand(command, reporter) ||
        !CreateProcessW(nullptr, command, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &report)) {
        std::fprintf(stderr, "kq tests: kq_hang_report.exe does not start: %lu\n", GetLastError());
        return;
    }
    if (WaitForSingleObject(report.hProcess, reportLimitMilliseconds) != WAIT_OBJECT_0)
        TerminateProcess(report.hProcess, 1);
    CloseHandle(report.hThread);
    CloseHandle(report.hProcess);
}

std::uint32_t Limit(std::uint32_t seconds) {
    if (IsDebuggerPresent() != FALSE)
        return 0;
    const char* const wanted = std::getenv("KQ_HANG_LIMIT");
    return wanted != nullptr ? static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10))
                             : seconds;
}

DWORD WINAPI Watch(void* limit) {
    const auto seconds = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(limit));
    Sleep(seconds * milliseconds);
    std::fprintf(stderr, "kq tests: still running after %lu s; its threads:\n", seconds);
    std::fflush(stderr);
    PrintStacks(GetCurrentThreadId());
    TerminateProcess(GetCurrentProcess(), exitCodeOfHang);
    return 0;
}

} // namespace

void StartHangGuard(std::uint32_t seconds) {
    const std::uint32_t limit = Limit(seconds);
    if (limit == 0)
        return;
    void* const argument = reinterpret_cast<void*>(static_cast<std::uintptr_t>(limit));
    if (const HANDLE watcher = CreateThread(nullptr, 0, Watch, argument, 0, nullptr))
        CloseHandle(watcher);
}

void PrintAllStacks() noexcept { PrintStacks(0); }

} // namespace kq_test
