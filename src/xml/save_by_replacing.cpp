#include "xml/save_by_replacing.h"

#include <kq/type/guid.h>
#include <kq/win32/path.h>

#include <utility>

namespace kq::xml {
namespace {

using boost::filesystem::path;

enum class Kind {
    ordinary, ///< another one can take its place without anybody noticing
    readOnly,
    other, ///< not there, a folder, a link, a device, in use, or a file with several names
};

Kind KindOf(const path& file) {
    // DELETE because it has to go: who uses it may not allow that, nor its access rights.
    const HANDLE handle =
        CreateFileW(file.c_str(), FILE_READ_ATTRIBUTES | DELETE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return Kind::other;
    BY_HANDLE_FILE_INFORMATION information{};
    const bool known = GetFileType(handle) == FILE_TYPE_DISK &&
                       GetFileInformationByHandle(handle, &information) != FALSE;
    CloseHandle(handle);
    constexpr DWORD special = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if (!known || (information.dwFileAttributes & special) != 0)
        return Kind::other;
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0)
        return Kind::readOnly;
    return information.nNumberOfLinks == 1 ? Kind::ordinary : Kind::other;
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
    const Kind kind = KindOf(file);
    if (kind == Kind::readOnly)
        return E_ACCESSDENIED;
    if (kind == Kind::ordinary) {
        // Not every platform replaces by relative paths.
        const path full = win32::GetFullPathNameW(file.native());
        TemporaryFile finished(full.parent_path() / (type::Guid().ToString() + L".tmp"));
        if (finished.Exists()) {
            const HRESULT result = save(finished.Name());
            if (FAILED(result) || finished.Replace(full))
                return result;
        }
    }
    return save(file);
}

} // namespace kq::xml
