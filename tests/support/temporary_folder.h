// A folder for the files of a test.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

/// A new folder below the system's temporary one, which is removed again with all that was made
/// through this object. Paths come with the prefix \\?\, without which the platform's file
/// functions take no more than 259 characters.
class TemporaryFolder {
public:
    TemporaryFolder() {
        wchar_t temp[MAX_PATH + 1] = L"";
        GetTempPathW(MAX_PATH + 1, temp);
        path_ = std::wstring(L"\\\\?\\") + temp + L"kq-test-" +
                std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64());
        MakeFolder(path_);
    }
    ~TemporaryFolder() {
        for (auto file = files_.rbegin(); file != files_.rend(); ++file)
            DeleteFileW(file->c_str());
        for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder)
            RemoveDirectoryW(folder->c_str());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::wstring& Path() const { return path_; }

    /// Copies `source` into this folder under a path of exactly `length` characters, not counting
    /// the prefix, with folders between as they are needed. `ending` ends the path.
    std::wstring CopyIn(const std::wstring& source, std::size_t length,
                        const std::wstring& ending) {
        constexpr std::size_t prefix = 4;
        constexpr std::size_t longestName = 100;
        std::wstring path = path_;
        length += prefix;
        while (length - path.size() > 2 * longestName) {
            path += L'\\' + std::wstring(longestName, L'd');
            MakeFolder(path);
        }
        if (length - path.size() > longestName) {
            path += L'\\' + std::wstring((length - path.size()) / 2, L'e');
            MakeFolder(path);
        }
        path += L'\\';
        path += std::wstring(length - path.size() - ending.size(), L'f') + ending;
        CopyTo(source, path);
        return path;
    }

    /// Copies `source` to `path`, which is below this folder.
    void CopyTo(const std::wstring& source, const std::wstring& path) {
        if (!CopyFileW(source.c_str(), path.c_str(), FALSE))
            throw std::runtime_error("the test cannot copy a file");
        files_.push_back(path);
    }

    /// The path of a file `name` in this folder, which is there already or will be made later.
    std::wstring NewFile(const std::wstring& name) {
        files_.push_back(path_ + L'\\' + name);
        return files_.back();
    }

    /// Makes the folder `path`, which is below this folder.
    void MakeFolder(const std::wstring& path) {
        if (CreateDirectoryW(path.c_str(), nullptr))
            folders_.push_back(path);
        else if (GetLastError() != ERROR_ALREADY_EXISTS)
            throw std::runtime_error("the test cannot make a folder");
    }

private:
    std::wstring path_;
    std::vector<std::wstring> folders_;
    std::vector<std::wstring> files_;
};
