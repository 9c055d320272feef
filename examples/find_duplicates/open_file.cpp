#include "open_file.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <system_error>

namespace find_duplicates {
namespace {

[[noreturn]] void ThrowError(DWORD error) {
    throw std::system_error(static_cast<int>(error), std::system_category(), "file");
}

std::uint64_t Joined(DWORD high, DWORD low) {
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

} // namespace

OpenFile::OpenFile(const std::wstring& path)
    : handle_(CreateFileW(path.c_str(), GENERIC_READ,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {
    if (handle_ == INVALID_HANDLE_VALUE)
        ThrowError(GetLastError());
}

OpenFile::~OpenFile() { CloseHandle(handle_); }

FileFacts OpenFile::Facts() const {
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(handle_, &information))
        ThrowError(GetLastError());
    FileFacts facts;
    facts.stamp.size = Joined(information.nFileSizeHigh, information.nFileSizeLow);
    facts.stamp.lastWrite = Joined(information.ftLastWriteTime.dwHighDateTime,
                                   information.ftLastWriteTime.dwLowDateTime);
    facts.hasOtherNames = information.nNumberOfLinks > 1;
    return facts;
}

FileId OpenFile::Id() const {
    FILE_ID_INFO information{};
    if (!GetFileInformationByHandleEx(handle_, FileIdInfo, &information, sizeof information))
        ThrowError(GetLastError());
    FileId id{};
    static_assert(sizeof information.VolumeSerialNumber + sizeof information.FileId == sizeof id);
    std::memcpy(id.data(), &information.VolumeSerialNumber, sizeof information.VolumeSerialNumber);
    std::memcpy(id.data() + sizeof information.VolumeSerialNumber, &information.FileId,
                sizeof information.FileId);
    return id;
}

void OpenFile::Seek(std::uint64_t offset) {
    LARGE_INTEGER distance{};
    distance.QuadPart = static_cast<LONGLONG>(offset);
    if (!SetFilePointerEx(handle_, distance, nullptr, FILE_BEGIN))
        ThrowError(GetLastError());
}

std::size_t OpenFile::Read(void* buffer, std::size_t length) {
    std::size_t total = 0;
    while (total < length) {
        constexpr std::size_t most = 1 << 30;
        const auto wanted = static_cast<DWORD>(std::min(length - total, most));
        DWORD got = 0;
        if (!ReadFile(handle_, static_cast<char*>(buffer) + total, wanted, &got, nullptr))
            ThrowError(GetLastError());
        if (got == 0)
            break;
        total += got;
    }
    return total;
}

} // namespace find_duplicates
