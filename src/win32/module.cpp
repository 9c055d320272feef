#include <windows.h>

#include <kq/win32/module.h>

#include "win32/module_file_name.h"

namespace kq::win32 {
namespace {

boost::filesystem::path FileNameOf(HINSTANCE module) {
    return ReadModuleFileName([module](wchar_t* buffer, DWORD capacity) {
        return GetModuleFileNameW(module, buffer, capacity);
    });
}

} // namespace

HINSTANCE GetExecutableModule() {
    const HINSTANCE module = GetModuleHandleW(nullptr);
    if (module == nullptr)
        throw std::runtime_error("Failed to get the module for the executable!");
    return module;
}

boost::filesystem::path GetExecutableFilename() { return FileNameOf(nullptr); }

HINSTANCE GetLibraryModule(const boost::filesystem::path& library) {
    const HINSTANCE module = GetModuleHandleW(library.c_str());
    if (module == nullptr)
        throw std::runtime_error("Failed to get the module for the library!");
    return module;
}

boost::filesystem::path GetLibraryFilename(HINSTANCE const& module) {
    if (module == nullptr)
        throw std::invalid_argument("Library module may not be NULL!");
    return FileNameOf(module);
}

boost::shared_ptr<HINSTANCE__> LoadLibraryModule(const boost::filesystem::path& library) {
    const HINSTANCE module = LoadLibraryW(library.c_str());
    if (module == nullptr)
        throw std::runtime_error("Failed to load the module for the library!");
    return boost::shared_ptr<HINSTANCE__>(module, FreeLibrary);
}

} // namespace kq::win32
