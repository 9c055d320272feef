// Blocks of memory that are used once.
#pragma once

#include <cstddef>
#include <new>

namespace kq::thread {

/// In the place of the library's recycler: takes every block from the heap and gives it back there,
/// so that the sanitizers know each one's end and who it belongs to.
class BlockRecycler {
public:
    explicit constexpr BlockRecycler(std::size_t blockSize) noexcept : blockSize_(blockSize) {}
    BlockRecycler(const BlockRecycler&) = delete;
    BlockRecycler& operator=(const BlockRecycler&) = delete;

    void* Take() { return ::operator new(blockSize_, alignment); }
    void Give(void* block) noexcept { ::operator delete(block, alignment); }
    void Trim() noexcept {}

private:
    static constexpr std::align_val_t alignment{64};

    const std::size_t blockSize_;
};

} // namespace kq::thread
