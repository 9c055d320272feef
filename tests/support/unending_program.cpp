// Does not end, or not well, in the way that its argument names.
#include <windows.h>

#include <array>
#include <cstdio>
#include <string_view>
#include <thread>

namespace {

volatile unsigned turns = 0;

[[noreturn]] void SpinInNtdll() {
    using Fill = void(WINAPI*)(void*, SIZE_T, BYTE);
    const auto fill = reinterpret_cast<Fill>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlFillMemory")));
    static std::array<char, 1 << 26> memory;
    for (;;)
        fill(memory.data(), memory.size(), 0);
}

[[noreturn]] void SpinInItsOwnCode() {
    for (;;)
        turns = turns + 1;
}

[[noreturn]] void Wait() {
    for (;;)
        Sleep(INFINITE);
}

} // namespace

int main(int /*count*/, char** arguments) {
    const std::string_view way = arguments[1];
    std::puts("begun");
    std::fflush(stdout);
    if (way == "spins_in_ntdll")
        SpinInNtdll();
    if (way == "spins_in_ntdll_beside_another_thread") {
        std::thread(Wait).detach();
        SpinInNtdll();
    }
    if (way == "crashes")
        RaiseException(static_cast<DWORD>(EXCEPTION_INT_DIVIDE_BY_ZERO), 0, 0, nullptr);
    if (way == "spins_in_its_own_code")
        SpinInItsOwnCode();
    Wait();
}
