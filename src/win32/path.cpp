#include <windows.h>

#include <kq/win32/path.h>

#include "win32/path_name.h"
#include "win32/temp_path.h"

namespace kq::win32 {

boost::filesystem::path GetFullPathNameW(const std::wstring& name) {
    return ReadPathName([&name](wchar_t* buffer, DWORD capacity) {
        return ::GetFullPathNameW(name.c_str(), capacity, buffer, nullptr);
    });
}

boost::filesystem::path GetLongPathNameW(const boost::filesystem::path& path) {
    return ReadPathName([&path](wchar_t* buffer, DWORD capacity) {
        return ::GetLongPathNameW(path.c_str(), buffer, capacity);
    });
}

boost::filesystem::path GetTempPathName() { return ReadTempPath(GetTempPathW); }

} // namespace kq::win32
