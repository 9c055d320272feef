#include "xml/save_by_replacing.h"

#include <kq/type/guid.h>

namespace kq::xml {
namespace {

using boost::filesystem::path;

/// Whether `file` is an ordinary file that another one can take the place of without anybody
/// noticing.
bool IsReplaceable(const path& file) {
    const HANDLE handle = CreateFileW(
        file.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION information{};
    const bool known =
        GetFileType(handle) == FILE_TYPE_DISK && GetFileInformationByHandle(handle, &information);
    CloseHandle(handle);
    constexpr DWORD special =
        FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_READONLY;
    return known && (information.dwFileAttributes & special) == 0 &&
           information.nNumberOfLinks == 1;
}

/// A new, empty file for the time of an attempt.
class TemporaryFile {
public:
    explicit TemporaryFile(path name) : name_(std::move(name)) {
        const HANDLE handle =
            CreateFileW(name_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        exists_ = handle != INVALID_HANDLE_VALUE;
        if (exists_)
            CloseHandle(handle);
    }
    ~TemporaryFile() {
        if (exists_)
            DeleteFileW(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool Exists() const noexcept { return exists_; }
    const path& Name() const noexcept { return name_; }

    /// Takes the place of `file`. Returns whether it does.
    bool Replace(const path& file) {
        if (!ReplaceFileW(file.c_str(), name_.c_str(), nullptr, 0, nullptr, nullptr))
            return false;
        exists_ = false;
        return true;
    }

private:
    const path name_;
    bool exists_ = false;
};

} // namespace

HRESULT SaveByReplacing(const path& file, const std::function<HRESULT(const path&)>& save) {
    if (IsReplaceable(file)) {
        TemporaryFile finished(file.parent_path() / (type::Guid().ToString() + L".tmp"));
        if (finished.Exists()) {
            const HRESULT result = save(finished.Name());
            if (FAILED(result) || finished.Replace(file))
                return result;
        }
    }
    return save(file);
}

} // namespace kq::xml
