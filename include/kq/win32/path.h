// Full, long and temporary paths.
#pragma once

#include <kq/export.h>

#include <boost/filesystem/path.hpp>

#include <string>

namespace kq {
namespace win32 {

/// The full path of `name`, by the current folder and drive and whether or not there is such a file
/// (the platform function of the same name). The result may have any length. Throws
/// `std::runtime_error("Failed to get path name")` (an empty name is one reason). Callable from any
/// thread; the platform advises against it while another thread changes the current folder.
KQ_API boost::filesystem::path GetFullPathNameW(const std::wstring& name);

/// `path` with the long form of each short (8.3) name in it (the platform function of the same
/// name). The result may have any length. Throws `std::runtime_error("Failed to get path name")`,
/// also when there is no such file or folder. Callable from any thread.
KQ_API boost::filesystem::path GetLongPathNameW(const boost::filesystem::path& path);

/// The folder for temporary files (`GetTempPathW`), with a backslash at its end; it need not exist.
/// Throws `std::runtime_error("Could not get system temp path")`. Callable from any thread.
KQ_API boost::filesystem::path GetTempPathName();

} // namespace win32
} // namespace kq
