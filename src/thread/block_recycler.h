// Blocks of memory that are used again and again.
#pragma once

#include "thread/mutex.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace kq::thread {

/// Hands out blocks of one size, and keeps those that come back for whoever asks next. Jobs are
/// often made by one thread and given up by another, which is what a general heap is slowest at;
/// the nodes of a document cost a general heap more than what is done with them.
///
/// Every thread goes to one of a few shards, and only whole batches of blocks pass between a shard
/// and the rest, so that threads seldom meet at a lock. The blocks are cut from slabs; `Trim` gives
/// back to the system the slabs of which no block is in use.
///
/// Constant-initialised and without a destructor: what is left at process exit is the system's.
class BlockRecycler {
public:
    explicit constexpr BlockRecycler(std::size_t blockSize) noexcept : blockSize_(blockSize) {}
    BlockRecycler(const BlockRecycler&) = delete;
    BlockRecycler& operator=(const BlockRecycler&) = delete;

    /// A block, aligned like the largest power of two, up to 64, that divides the block size.
    /// Throws `std::bad_alloc`.
    void* Take();
    /// Takes a block back. Never waits for another thread: when the process ends, threads may have
    /// been killed inside a lock, and somebody's last ticket may go after that.
    void Give(void* block) noexcept;

    /// Gives memory that nobody uses back to the system. For a thread that has nothing to do: the
    /// next blocks cost more again.
    void Trim() noexcept;

private:
    struct Block;
    struct Slab;

    /// Some free blocks in a row.
    struct Batch {
        Block* first = nullptr;
        std::size_t count = 0;

        bool IsEmpty() const noexcept { return first == nullptr; }
        void Push(Block& block) noexcept;
        Block& Pop() noexcept;
    };
    /// With two batches, a thread that takes and gives around the end of one does not reach beyond
    /// its shard each time.
    struct alignas(64) Shard {
        // Held for a few instructions, and mostly by the same thread: a lock whose release is a
        // plain store.
        std::atomic_flag isHeld = ATOMIC_FLAG_INIT;
        Batch current;
        Batch spare;
    };
    class HeldShard;

    static constexpr std::size_t shardCount = 8;
    static constexpr std::size_t batchSize = 64;

    Batch TakeBatch();
    void GiveBatch(const Batch& batch) noexcept;
    bool TryToGiveBatch(const Batch& batch) noexcept;
    void Add(const Batch& batch) noexcept KQ_REQUIRES(mutex_);
    Batch CutSlab();
    Batch TakeAllFree() noexcept;

    Shard shards_[shardCount];
    const std::size_t blockSize_;

    mutex mutex_;
    Block* batches_ KQ_GUARDED_BY(mutex_) = nullptr; // full ones, linked through their first blocks
    Slab* slabs_ KQ_GUARDED_BY(mutex_) = nullptr;    // all of them
    mutex trimMutex_;                                // held by the one who trims
};

} // namespace kq::thread
