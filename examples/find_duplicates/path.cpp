#include "path.h"

#include <windows.h>

#include <memory>
#include <string_view>
#include <system_error>

namespace find_duplicates {
namespace {

constexpr std::wstring_view prefix = L"\\\\?\\";
constexpr std::wstring_view networkPrefix = L"\\\\?\\UNC\\";

bool StartsWith(std::wstring_view text, std::wstring_view start) {
    return text.substr(0, start.size()) == start;
}

/// Calls a function of the platform that fills a buffer and answers the length that it needs,
/// zero when it fails.
template <class Function>
std::wstring FilledBy(Function fill) {
    std::wstring result(300, L'\0');
    for (;;) {
        const DWORD length = fill(result.data(), static_cast<DWORD>(result.size()));
        const bool fits = length < result.size();
        result.resize(length);
        if (fits)
            return result;
    }
}

std::wstring WithPrefix(const std::wstring& path) {
    if (StartsWith(path, prefix) || StartsWith(path, L"\\\\.\\"))
        return path;
    if (StartsWith(path, L"\\\\"))
        return std::wstring(networkPrefix) + path.substr(2);
    return std::wstring(prefix) + path;
}

/// Where the open file or folder really is; empty on file systems that cannot tell.
std::wstring FinalPath(HANDLE handle, DWORD nameKind) {
    return FilledBy([&](wchar_t* buffer, DWORD size) {
        return GetFinalPathNameByHandleW(handle, buffer, size, nameKind | VOLUME_NAME_DOS);
    });
}

/// Wine leaves dots and spaces at the end of a name out of final paths.
std::wstring WithoutTrailingDots(const std::wstring& path) {
    std::wstring result;
    for (const wchar_t character : path) {
        if (character == L'\\')
            result.resize(result.find_last_not_of(L". ") + 1);
        result += character;
    }
    result.resize(result.find_last_not_of(L". ") + 1);
    return result;
}

[[noreturn]] void ThrowFolderError(DWORD error) {
    throw std::system_error(static_cast<int>(error), std::system_category(), "folder");
}

} // namespace

std::wstring ResolveFolder(const std::wstring& name) {
    std::wstring path = WithPrefix(FilledBy([&](wchar_t* buffer, DWORD size) {
        return GetFullPathNameW(name.c_str(), size, buffer, nullptr);
    }));
    HANDLE handle = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        ThrowFolderError(GetLastError());
    const std::unique_ptr<void, decltype(&CloseHandle)> closer(handle, &CloseHandle);

    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(handle, &information))
        ThrowFolderError(GetLastError());
    if (!(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        ThrowFolderError(ERROR_DIRECTORY);

    const std::wstring finalPath = FinalPath(handle, FILE_NAME_NORMALIZED);
    if (!finalPath.empty())
        path = finalPath;
    if (path.back() == L'\\')
        path.pop_back(); // so that names can be appended in one way to roots of drives, too
    return path;
}

bool LedElsewhere(void* handle, const std::wstring& path) {
    const std::wstring finalPath = FinalPath(handle, FILE_NAME_OPENED);
    return !finalPath.empty() && finalPath != path &&
           WithoutTrailingDots(finalPath) != WithoutTrailingDots(path);
}

std::wstring DisplayPath(const std::wstring& path) {
    std::wstring result;
    if (StartsWith(path, networkPrefix))
        result = L"\\\\" + path.substr(networkPrefix.size());
    else if (StartsWith(path, prefix))
        result = path.substr(prefix.size());
    else
        result = path;
    for (wchar_t& character : result) {
        if (character < L' ' || character == L'\x7f')
            character = L'?'; // not allowed in Windows' names, but in those of other systems' disks
    }
    return result;
}

std::wstring ErrorText(unsigned long error) {
    wchar_t buffer[512];
    DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, error, 0, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
    while (length > 0 && (buffer[length - 1] == L' ' || buffer[length - 1] == L'.'))
        --length;
    return length > 0 ? std::wstring(buffer, length) : L"error " + std::to_wstring(error);
}

} // namespace find_duplicates
