#include "thread/block_recycler.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using kq::thread::BlockRecycler;

constexpr std::size_t blockSize = 192;

bool IsMapped(const void* address) {
    MEMORY_BASIC_INFORMATION information{};
    VirtualQuery(address, &information, sizeof(information));
    return information.State == MEM_COMMIT;
}

std::vector<void*> TakeMany(BlockRecycler& recycler, std::size_t count) {
    std::vector<void*> blocks(count);
    for (void*& block : blocks)
        block = recycler.Take();
    return blocks;
}

void GiveAll(BlockRecycler& recycler, const std::vector<void*>& blocks) {
    for (void* block : blocks)
        recycler.Give(block);
}

TEST(BlockRecycler, HandsOutBlocksThatDoNotOverlap) {
    BlockRecycler recycler(blockSize);
    std::vector<void*> blocks = TakeMany(recycler, 5000);
    std::sort(blocks.begin(), blocks.end());
    for (std::size_t i = 1; i != blocks.size(); ++i)
        ASSERT_GE(static_cast<char*>(blocks[i]) - static_cast<char*>(blocks[i - 1]),
                  std::ptrdiff_t{blockSize});
    for (void* block : blocks)
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u);
    GiveAll(recycler, blocks);
    recycler.Trim();
}

TEST(BlockRecycler, UsesTheBlocksThatCameBack) {
    BlockRecycler recycler(blockSize);
    const std::vector<void*> first = TakeMany(recycler, 5000);
    GiveAll(recycler, first);
    const std::vector<void*> second = TakeMany(recycler, 5000);
    EXPECT_EQ(std::set<void*>(second.begin(), second.end()),
              std::set<void*>(first.begin(), first.end()));
    GiveAll(recycler, second);
    recycler.Trim();
}

TEST(BlockRecycler, BlocksPassFromTheThreadsThatGiveToThoseThatTake) {
    BlockRecycler recycler(blockSize);
    std::set<void*> known;
    std::vector<void*> blocks = TakeMany(recycler, 5000);
    known.insert(blocks.begin(), blocks.end());
    const std::size_t before = known.size();
    for (int round = 0; round != 20; ++round) {
        std::thread([&] { GiveAll(recycler, blocks); }).join();
        blocks = TakeMany(recycler, 5000);
        known.insert(blocks.begin(), blocks.end());
    }
    // Some may lie with the thread that gave them, two batches at most; hardly anything new.
    EXPECT_LE(known.size(), before + 2000);
    GiveAll(recycler, blocks);
    recycler.Trim();
}

TEST(BlockRecycler, TrimGivesBackWhatNobodyUses) {
    BlockRecycler recycler(blockSize);
    const std::vector<void*> blocks = TakeMany(recycler, 5000);
    GiveAll(recycler, blocks);
    for (void* block : blocks)
        ASSERT_TRUE(IsMapped(block));
    recycler.Trim();
    for (void* block : blocks)
        EXPECT_FALSE(IsMapped(block));
}

TEST(BlockRecycler, TrimGivesBackWhatLiesWithOtherThreads) {
    BlockRecycler recycler(blockSize);
    const std::vector<void*> blocks = TakeMany(recycler, 100);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i != 10; ++i)
        threads.emplace_back([&recycler, &blocks, i] {
            for (std::size_t block = i; block < blocks.size(); block += 10)
                recycler.Give(blocks[block]);
        });
    for (std::thread& thread : threads)
        thread.join();
    recycler.Trim();
    for (void* block : blocks)
        EXPECT_FALSE(IsMapped(block));
}

TEST(BlockRecycler, TrimKeepsWhatIsUsed) {
    BlockRecycler recycler(blockSize);
    std::vector<void*> blocks = TakeMany(recycler, 5000);
    for (void* block : blocks)
        std::memset(block, 0x5A, blockSize);
    // One in a thousand stays, so some slabs are free and some are not.
    std::vector<void*> used;
    for (std::size_t i = 0; i != blocks.size(); ++i) {
        if (i % 1000 == 0)
            used.push_back(blocks[i]);
        else
            recycler.Give(blocks[i]);
    }
    recycler.Trim();
    for (void* block : used) {
        ASSERT_TRUE(IsMapped(block));
        const auto* bytes = static_cast<unsigned char*>(block);
        EXPECT_TRUE(std::all_of(bytes, bytes + blockSize, [](auto byte) { return byte == 0x5A; }));
    }
    // What was kept beside them is handed out once, and not what is used.
    const std::vector<void*> more = TakeMany(recycler, 5000);
    std::set<void*> all(more.begin(), more.end());
    EXPECT_EQ(all.size(), more.size());
    for (void* block : used)
        EXPECT_EQ(all.count(block), 0u);
    GiveAll(recycler, used);
    GiveAll(recycler, more);
    recycler.Trim();
    for (void* block : more)
        EXPECT_FALSE(IsMapped(block));
}

// Threads take blocks, write their mark into them, pass them to each other and give them up, while
// one trims: no block may ever be in two hands.
TEST(BlockRecycler, NoBlockIsEverInTwoHands) {
    const unsigned int seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    BlockRecycler recycler(blockSize);
    std::mutex mutex;
    std::vector<std::uint64_t*> passed;
    std::atomic<bool> isRight{true};
    std::atomic<int> running{0};

    const auto work = [&](unsigned int own) {
        std::mt19937 random(seed + own);
        std::vector<std::uint64_t*> held;
        const auto check = [&isRight](const std::uint64_t* block) {
            if (block[0] != reinterpret_cast<std::uintptr_t>(block) || block[23] != ~block[0])
                isRight = false;
        };
        for (int step = 0; step != 20'000; ++step) {
            if (held.empty() || random() % 100 < 48) {
                auto* const block = static_cast<std::uint64_t*>(recycler.Take());
                block[0] = reinterpret_cast<std::uintptr_t>(block);
                block[23] = ~block[0];
                held.push_back(block);
            } else {
                std::swap(held[random() % held.size()], held.back());
                std::uint64_t* block = held.back();
                check(block);
                if (random() % 4 == 0) {
                    const std::lock_guard guard(mutex);
                    passed.push_back(block);
                    std::swap(passed[random() % passed.size()], passed.back());
                    block = passed.back();
                    passed.pop_back();
                    check(block);
                }
                held.pop_back();
                block[0] = 0;
                recycler.Give(block);
            }
        }
        for (std::uint64_t* block : held) {
            check(block);
            recycler.Give(block);
        }
        --running;
    };
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i != 4; ++i) {
        ++running;
        threads.emplace_back(work, i);
    }
    while (running != 0)
        recycler.Trim();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(isRight);
    for (std::uint64_t* block : passed)
        recycler.Give(block);
    recycler.Trim();
}

} // namespace
