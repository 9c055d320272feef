// A folder in which whatever a test leaves behind is removed.
#pragma once

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <iterator>

namespace kq_test {

/// A new folder below the system's temporary one, removed again with all that is in it.
class ScratchFolder {
public:
    ScratchFolder()
        : path_(boost::filesystem::temp_directory_path() /
                boost::filesystem::unique_path("kq-test-%%%%-%%%%-%%%%")) {
        boost::filesystem::create_directory(path_);
    }
    ~ScratchFolder() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const boost::filesystem::path& Path() const noexcept { return path_; }
    boost::filesystem::path operator/(const wchar_t* name) const { return path_ / name; }

    /// How many entries it has.
    std::ptrdiff_t Entries() const {
        using Iterator = boost::filesystem::directory_iterator;
        return std::distance(Iterator(path_), Iterator());
    }

private:
    const boost::filesystem::path path_;
};

} // namespace kq_test
