// The executable, loaded libraries and their files.
#pragma once

#include <kq/export.h>
#include <kq/win32/types.h>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

namespace kq {
namespace win32 {

/// The module of the executable, which is loaded as long as the process lives. Throws
/// `std::runtime_error("Failed to get the module for the executable!")`. Callable from any thread.
KQ_API HINSTANCE__* GetExecutableModule();

/// The file of the executable, of any length. Throws
/// `std::runtime_error("Failed to get module file name!")`. Callable from any thread.
KQ_API boost::filesystem::path GetExecutableFilename();

/// The module that was loaded from `library`, a path or only a file name (`GetModuleHandleW`).
/// Nothing is loaded and no reference is taken, so the handle is good only as long as somebody else
/// keeps the library loaded. Throws
/// `std::runtime_error("Failed to get the module for the library!")` when no such library is
/// loaded. Callable from any thread.
KQ_API HINSTANCE__* GetLibraryModule(const boost::filesystem::path& library);

/// The file that `module` was loaded from, of any length. Throws
/// `std::invalid_argument("Library module may not be NULL!")` for a null handle, and
/// `std::runtime_error("Failed to get module file name!")` for one that is no module. Callable from
/// any thread.
KQ_API boost::filesystem::path GetLibraryFilename(HINSTANCE__* const& module);

/// Loads `library`, or takes a reference on it when it is loaded already (`LoadLibraryW`, with the
/// platform's rules for a name without a folder). The reference is given back (`FreeLibrary`) when
/// the last copy of the returned pointer goes, on that copy's thread. Throws
/// `std::runtime_error("Failed to load the module for the library!")`. Callable from any thread,
/// but not from inside a library's entry point.
KQ_API boost::shared_ptr<HINSTANCE__> LoadLibraryModule(const boost::filesystem::path& library);

} // namespace win32
} // namespace kq
