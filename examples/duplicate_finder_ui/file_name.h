// Paths in two pieces.
#pragma once

#include <string>

namespace duplicate_finder {

/// What stands behind the last backslash.
inline std::wstring NameOf(const std::wstring& path) { return path.substr(path.rfind(L'\\') + 1); }

/// What stands before the last backslash; for a file in the root of a drive with the backslash.
inline std::wstring FolderOf(const std::wstring& path) {
    const std::size_t end = path.rfind(L'\\');
    const std::wstring folder = path.substr(0, end == std::wstring::npos ? 0 : end);
    return !folder.empty() && folder.back() == L':' ? folder + L'\\' : folder;
}

} // namespace duplicate_finder
