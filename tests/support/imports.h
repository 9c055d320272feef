// Puts something else in the place of what a module imports.
#pragma once

#include <windows.h>

#include <cstring>

namespace kq_test {

/// Lets the module call `replacement` instead of the function that it imports by that name, and
/// returns that function; null when it imports none such. To be called while nobody else calls it.
template <class Function>
Function* RedirectImport(HMODULE module, const char* name, Function* replacement) {
    auto* const base = reinterpret_cast<unsigned char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    // NOLINTBEGIN(cppcoreguidelines-pro-type-union-access): the records are the loader's
    for (const auto* library =
             reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
         library->FirstThunk != 0; ++library) {
        const auto* entry =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<Function**>(base + library->FirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++address) {
            if (IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal) ||
                std::strcmp(
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + entry->u1.AddressOfData)
                        ->Name,
                    name) != 0)
                continue;
            Function* const imported = *address;
            DWORD protection = 0;
            VirtualProtect(address, sizeof(*address), PAGE_READWRITE, &protection);
            *address = replacement;
            VirtualProtect(address, sizeof(*address), protection, &protection);
            return imported;
        }
    }
    // NOLINTEND(cppcoreguidelines-pro-type-union-access)
    return nullptr;
}

} // namespace kq_test
