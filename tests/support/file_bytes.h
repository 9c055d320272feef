// Files as bytes.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kq_test {

/// Who reads or writes a file does not keep others from it.
constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Writes a file of `bytes`, in place of what is there.
inline void WriteBytes(const std::wstring& path, const std::string& bytes) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, everybody, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    const bool complete =
        file != INVALID_HANDLE_VALUE &&
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0 &&
        written == bytes.size();
    CloseHandle(file);
    if (!complete)
        throw std::runtime_error("the test cannot write a file");
}

/// What the file holds.
inline std::string ReadBytes(const std::wstring& path) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, everybody, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size{};
    if (file == INVALID_HANDLE_VALUE || !GetFileSizeEx(file, &size))
        throw std::runtime_error("the test cannot open a file");
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    const bool complete =
        ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) != 0 &&
        read == bytes.size();
    CloseHandle(file);
    if (!complete)
        throw std::runtime_error("the test cannot read a file");
    return bytes;
}

} // namespace kq_test
