// Counts how often the library in a test program wakes threads. For programs that hold the
// library's objects themselves: it redirects what the program imports from the system.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>

namespace kq_test {

/// How often the system has been asked to wake a thread, whether or not one slept.
inline std::atomic<std::size_t> wakeUpCount{0};

using WakeFunction = void(WINAPI*)(void* address);

inline WakeFunction systemWakeOne = nullptr;
inline WakeFunction systemWakeAll = nullptr;

inline void WINAPI CountedWakeOne(void* address) {
    wakeUpCount.fetch_add(1, std::memory_order_relaxed);
    systemWakeOne(address);
}
inline void WINAPI CountedWakeAll(void* address) {
    wakeUpCount.fetch_add(1, std::memory_order_relaxed);
    systemWakeAll(address);
}

/// Calls `visit` with the name and the place of the address of each function that the program
/// imports by name.
template <class Visit>
void ForEachImport(Visit visit) {
    auto* const base = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    // NOLINTBEGIN(cppcoreguidelines-pro-type-union-access): the records are the loader's
    for (const auto* library =
             reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
         library->FirstThunk != 0; ++library) {
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<WakeFunction*>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address)
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                visit(reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)
                          ->Name,
                      *address);
    }
    // NOLINTEND(cppcoreguidelines-pro-type-union-access)
}

/// From now on wake-ups are counted; to be called while no other thread wakes any. Returns whether
/// both ways to wake were found. Does nothing the second time.
inline bool CountWakeUps() {
    ForEachImport([](const CHAR* name, WakeFunction& address) {
        const auto redirect = [&address](WakeFunction& system, WakeFunction counted) {
            if (system != nullptr)
                return;
            DWORD protection = 0;
            VirtualProtect(&address, sizeof(address), PAGE_READWRITE, &protection);
            system = address;
            address = counted;
            VirtualProtect(&address, sizeof(address), protection, &protection);
        };
        if (std::strcmp(name, "WakeByAddressSingle") == 0)
            redirect(systemWakeOne, CountedWakeOne);
        if (std::strcmp(name, "WakeByAddressAll") == 0)
            redirect(systemWakeAll, CountedWakeAll);
    });
    return systemWakeOne != nullptr && systemWakeAll != nullptr;
}

} // namespace kq_test
