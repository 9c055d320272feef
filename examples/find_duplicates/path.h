// Paths of any length.
#pragma once

#include <string>

namespace find_duplicates {

/// The folder that the user named, as the absolute path that the system knows it by, with the
/// prefix (`\\?\`) that lifts the limit of 260 characters. A link is resolved: naming one means
/// its target. Throws `std::system_error` when there is no such folder.
std::wstring ResolveFolder(const std::wstring& name);

/// Whether opening `path` has led the open file `handle` to some other place. So it is with a Unix
/// link to a file under Wine, which has no other sign: it is listed as if it were its target.
bool LedElsewhere(void* handle, const std::wstring& path);

/// The path without the prefix and without control characters, as people write it.
std::wstring DisplayPath(const std::wstring& path);

/// The system's text for one of its error codes, without the full stop.
std::wstring ErrorText(unsigned long error);

} // namespace find_duplicates
