// Memory behind which nothing can be read or written.
#pragma once

#include <windows.h>

#include <cstddef>
#include <new>

/// A page, and a page after it that faults when it is touched.
class PageEnd {
public:
    PageEnd() : pages_(VirtualAlloc(nullptr, 2 * pageSize, MEM_RESERVE, PAGE_NOACCESS)) {
        if (pages_ == nullptr ||
            VirtualAlloc(pages_, pageSize, MEM_COMMIT, PAGE_READWRITE) == nullptr)
            throw std::bad_alloc();
    }
    ~PageEnd() { VirtualFree(pages_, 0, MEM_RELEASE); }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;

    /// The last `size` bytes of the page, which has 4,096.
    unsigned char* Last(std::size_t size) const noexcept {
        return static_cast<unsigned char*>(pages_) + pageSize - size;
    }

private:
    static constexpr std::size_t pageSize = 4096;

    void* pages_;
};
