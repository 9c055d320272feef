#include "tree.h"

#include <windows.h>

#include <memory>
#include <string_view>

namespace find_duplicates {
namespace {

bool IsLink(const WIN32_FIND_DATAW& entry) {
    if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return false;
    // Other reparse points hold content, such as folders that are kept in step with a server.
    // Wine shows a Unix link to a folder as a reparse point without a tag.
    const DWORD tag = entry.dwReserved0;
    return tag == 0 || IsReparseTagNameSurrogate(tag);
}

// Not in every toolchain's headers.
constexpr DWORD attributeRecallOnOpen = 0x00040000;
constexpr DWORD attributeRecallOnDataAccess = 0x00400000;

bool IsOffline(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes &
            (FILE_ATTRIBUTE_OFFLINE | attributeRecallOnOpen | attributeRecallOnDataAccess)) != 0;
}

void Add(const WIN32_FIND_DATAW& entry, std::uint32_t folder, Tree& tree) {
    const std::wstring_view name = entry.cFileName;
    if (name == L"." || name == L"..")
        return;
    if (IsLink(entry)) {
        ++tree.links;
    } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        tree.folders.push_back(tree.folders[folder] + L'\\' + entry.cFileName);
    } else if (IsOffline(entry)) {
        ++tree.offline;
    } else {
        const std::uint64_t size =
            (static_cast<std::uint64_t>(entry.nFileSizeHigh) << 32) | entry.nFileSizeLow;
        tree.bytes += size;
        tree.empty += size == 0 ? 1 : 0;
        tree.files.push_back({folder, entry.cFileName, size});
    }
}

void List(std::uint32_t folder, Tree& tree, const std::function<void()>& onStep) {
    WIN32_FIND_DATAW entry{};
    HANDLE found =
        FindFirstFileExW((tree.folders[folder] + L"\\*").c_str(), FindExInfoBasic, &entry,
                         FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (found == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_NOT_FOUND) // the root of an empty drive has no entries at all
            tree.unreadableFolders.push_back({tree.folders[folder], error});
        return;
    }
    const std::unique_ptr<void, decltype(&FindClose)> closer(found, &FindClose);
    constexpr std::size_t entriesOfAStep = 1000;
    std::size_t entries = 0;
    do {
        Add(entry, folder, tree);
        if (++entries % entriesOfAStep == 0)
            onStep();
    } while (FindNextFileW(found, &entry) != 0);
    const DWORD error = GetLastError();
    if (error != ERROR_NO_MORE_FILES)
        tree.unreadableFolders.push_back({tree.folders[folder], error});
}

} // namespace

void Walk(const std::wstring& root, Tree& tree, const std::function<void()>& onStep) {
    tree.folders.push_back(root);
    // Listing a folder appends the folders in it: the list is its own work list.
    for (std::size_t folder = tree.folders.size() - 1; folder < tree.folders.size(); ++folder) {
        onStep();
        List(static_cast<std::uint32_t>(folder), tree, onStep);
    }
}

} // namespace find_duplicates
