// A file that is open for reading.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace find_duplicates {

/// What changes when somebody writes to a file.
struct Stamp {
    std::uint64_t size = 0;
    std::uint64_t lastWrite = 0;

    friend bool operator==(const Stamp& left, const Stamp& right) {
        return left.size == right.size && left.lastWrite == right.lastWrite;
    }
};

struct FileFacts {
    Stamp stamp;
    bool hasOtherNames = false; ///< it is in other folders, or in this one, under other names too
};

/// Which file it is, whatever its names are: the number of the volume and that of the file.
using FileId = std::array<std::uint8_t, 24>;

/// Every operation throws `std::system_error` with the platform's error code.
class OpenFile {
public:
    explicit OpenFile(const std::wstring& path);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void* Handle() const noexcept { return handle_; }
    FileFacts Facts() const;
    FileId Id() const;

    void Seek(std::uint64_t offset);
    /// Reads `length` bytes, fewer only at the end of the file; returns how many.
    std::size_t Read(void* buffer, std::size_t length);

private:
    void* handle_;
};

} // namespace find_duplicates
