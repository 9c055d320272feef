// Modules that a scenario loads and frees.
#pragma once

#include "process/scenario.h"

#include <windows.h>

/// Whether a module of that file name is mapped into the process.
inline bool IsMapped(const wchar_t* name) { return GetModuleHandleW(name) != nullptr; }

/// One reference on a module, taken at construction. Given back by `Free` only: what is not freed
/// stays until the process ends, as it does with most hosts.
class Module {
public:
    explicit Module(const wchar_t* name) : handle_(LoadLibraryW(name)) {
        CHECK(handle_ != nullptr);
    }

    void Free() const { CHECK(FreeLibrary(handle_)); }

    /// The exported function `name`; `Function` is its type.
    template <class Function>
    Function* Find(const char* name) const {
        const auto address = reinterpret_cast<void (*)()>(GetProcAddress(handle_, name));
        CHECK(address != nullptr);
        return reinterpret_cast<Function*>(address);
    }

private:
    HMODULE handle_;
};
