// A library through which a test calls itself.
#pragma once

#include <windows.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace kq_test {

/// One of the libraries made of debug/caller.cpp, loaded as long as this object lives.
class CallerLibrary {
public:
    explicit CallerLibrary(const std::wstring& file) : module_(LoadLibraryW(file.c_str())) {
        if (module_ == nullptr)
            throw std::runtime_error("the test cannot load a library");
    }
    ~CallerLibrary() { FreeLibrary(module_); }
    CallerLibrary(const CallerLibrary&) = delete;
    CallerLibrary& operator=(const CallerLibrary&) = delete;

    std::uint64_t Base() const { return reinterpret_cast<std::uint64_t>(module_); }

    /// Runs `step` below a frame of the library.
    template <class Step>
    void Call(Step step) const {
        using Callback = void (*)(void* argument);
        const auto call = reinterpret_cast<void (*)(Callback, void*)>(
            reinterpret_cast<void*>(GetProcAddress(module_, "KqTestCall")));
        call([](void* argument) { (*static_cast<Step*>(argument))(); }, &step);
    }

private:
    HMODULE module_;
};

} // namespace kq_test
