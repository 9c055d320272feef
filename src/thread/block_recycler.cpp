#include "thread/block_recycler.h"

#include <kq/thread/scoped_locks.h>

#include "thread/platform.h"

#include <xmmintrin.h>

#include <new>
#include <utility>

namespace kq::thread {

/// What stands in a free block.
struct BlockRecycler::Block {
    Block* next;
    // Only in the first block of a batch that stands in the row of batches.
    Block* nextBatch;
    std::size_t batchCount;
};

/// What stands before the blocks that were cut from one piece of the system's memory.
struct alignas(64) BlockRecycler::Slab {
    Slab* next;
    std::size_t blockCount;
    std::size_t freeCount; // while somebody trims

    // The system's pieces are aligned to their size.
    static Slab& Of(Block& block) noexcept {
        const auto address = reinterpret_cast<std::uintptr_t>(&block);
        return *reinterpret_cast<Slab*>(address & ~(platform::memoryPiece - 1));
    }
    bool IsFree() const noexcept { return freeCount == blockCount; }
};

void BlockRecycler::Batch::Push(Block& block) noexcept {
    block.next = std::exchange(first, &block);
    ++count;
}

// Not of an empty batch.
BlockRecycler::Block& BlockRecycler::Batch::Pop() noexcept {
    Block& block = *first; // NOLINT(clang-analyzer-core.NullDereference)
    first = block.next;
    --count;
    // What another thread has given back last stands in that one's cache.
    if (first != nullptr)
        _mm_prefetch(reinterpret_cast<const char*>(first), _MM_HINT_T0);
    return block;
}

/// A shard, locked as long as this lives.
class BlockRecycler::HeldShard {
public:
    /// The calling thread's own shard, or another one that is free.
    explicit HeldShard(BlockRecycler& recycler) noexcept {
        constexpr std::uint32_t identifierStep = 4; // the identifiers are multiples of this
        for (std::size_t i = platform::CurrentThreadId() / identifierStep;; ++i) {
            shard_ = &recycler.shards_[i % shardCount];
            if (TryToHold())
                return;
            platform::SpinPause();
        }
    }
    /// This very one.
    explicit HeldShard(Shard& shard) noexcept : shard_(&shard) {
        while (!TryToHold())
            platform::YieldSlice();
    }
    ~HeldShard() { shard_->isHeld.clear(std::memory_order_release); }
    HeldShard(const HeldShard&) = delete;
    HeldShard& operator=(const HeldShard&) = delete;

    Shard* operator->() const noexcept { return shard_; }

private:
    bool TryToHold() noexcept { return !shard_->isHeld.test_and_set(std::memory_order_acquire); }

    Shard* shard_ = nullptr;
};

void* BlockRecycler::Take() {
    const HeldShard shard(*this);
    if (shard->current.IsEmpty()) {
        if (!shard->spare.IsEmpty())
            std::swap(shard->current, shard->spare);
        else
            shard->current = TakeBatch();
    }
    return &shard->current.Pop();
}

void BlockRecycler::Give(void* block) noexcept {
    const HeldShard shard(*this);
    if (shard->current.count >= batchSize &&
        (shard->spare.IsEmpty() || TryToGiveBatch(shard->spare)))
        shard->spare = std::exchange(shard->current, {});
    shard->current.Push(*static_cast<Block*>(block));
}

BlockRecycler::Batch BlockRecycler::TakeBatch() {
    {
        const lock_guard guard(mutex_);
        if (batches_ != nullptr) {
            Block* const first = std::exchange(batches_, batches_->nextBatch);
            return {first, first->batchCount};
        }
    }
    return CutSlab();
}

void BlockRecycler::GiveBatch(const Batch& batch) noexcept {
    const lock_guard guard(mutex_);
    Add(batch);
}

bool BlockRecycler::TryToGiveBatch(const Batch& batch) noexcept {
    if (!mutex_.try_lock())
        return false;
    const lock_guard guard(mutex_, std::adopt_lock);
    Add(batch);
    return true;
}

void BlockRecycler::Add(const Batch& batch) noexcept {
    batch.first->batchCount = batch.count;
    batch.first->nextBatch = std::exchange(batches_, batch.first);
}

BlockRecycler::Batch BlockRecycler::CutSlab() {
    auto* const memory = static_cast<unsigned char*>(platform::AllocatePiece());
    if (memory == nullptr)
        throw std::bad_alloc();
    Batch batch;
    const std::size_t blockCount = (platform::memoryPiece - sizeof(Slab)) / blockSize_;
    for (std::size_t i = blockCount; i != 0; --i)
        batch.Push(*new (memory + sizeof(Slab) + (i - 1) * blockSize_) Block);
    auto* const slab = new (memory) Slab{nullptr, blockCount, 0};
    const lock_guard guard(mutex_);
    slab->next = std::exchange(slabs_, slab);
    return batch;
}

// Under the lock of one shard at a time, so that nobody is kept waiting.
BlockRecycler::Batch BlockRecycler::TakeAllFree() noexcept {
    Batch all;
    const auto add = [&all](Batch batch) {
        while (!batch.IsEmpty())
            all.Push(batch.Pop());
    };
    for (Shard& shard : shards_) {
        Batch current;
        Batch spare;
        {
            const HeldShard held(shard);
            current = std::exchange(held->current, {});
            spare = std::exchange(held->spare, {});
        }
        add(current);
        add(spare);
    }
    Block* batches = nullptr;
    {
        const lock_guard guard(mutex_);
        batches = std::exchange(batches_, nullptr);
    }
    while (batches != nullptr) {
        Block* const first = std::exchange(batches, batches->nextBatch);
        add({first, first->batchCount});
    }
    return all;
}

void BlockRecycler::Trim() noexcept {
    if (!trimMutex_.try_lock())
        return;
    const lock_guard trimGuard(trimMutex_, std::adopt_lock);

    Batch free = TakeAllFree();
    for (Block* block = free.first; block != nullptr; block = block->next)
        ++Slab::Of(*block).freeCount;

    Batch kept;
    while (!free.IsEmpty()) {
        Block& block = free.Pop();
        if (!Slab::Of(block).IsFree())
            kept.Push(block);
        if (kept.count == batchSize || (free.IsEmpty() && !kept.IsEmpty()))
            GiveBatch(std::exchange(kept, {}));
    }

    Slab* unused = nullptr;
    {
        const lock_guard guard(mutex_);
        for (Slab** link = &slabs_; *link != nullptr;) {
            Slab& slab = **link;
            if (slab.IsFree()) {
                *link = slab.next;
                slab.next = std::exchange(unused, &slab);
            } else {
                slab.freeCount = 0;
                link = &slab.next;
            }
        }
    }
    while (unused != nullptr)
        platform::FreePiece(std::exchange(unused, unused->next));
}

} // namespace kq::thread
