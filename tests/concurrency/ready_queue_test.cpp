#include "concurrency/ready_queue.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

using kq::concurrency::CQueueJobAdapter;
using kq::concurrency::Job;
using kq::concurrency::ReadyQueue;

namespace {

std::vector<std::unique_ptr<CQueueJobAdapter>> MakeJobs(std::size_t count) {
    std::vector<std::unique_ptr<CQueueJobAdapter>> jobs;
    for (std::size_t i = 0; i != count; ++i) {
        jobs.push_back(std::make_unique<CQueueJobAdapter>(Job(), nullptr));
        jobs.back()->sequence = i;
    }
    return jobs;
}

std::vector<std::uint64_t> TakeAll(ReadyQueue& queue) {
    std::vector<std::uint64_t> order;
    while (CQueueJobAdapter* const job = queue.First()) {
        order.push_back(job->sequence);
        queue.Remove(*job);
    }
    return order;
}

std::vector<std::uint64_t> Ascending(std::size_t count) {
    std::vector<std::uint64_t> order(count);
    std::iota(order.begin(), order.end(), std::uint64_t{0});
    return order;
}

TEST(ReadyQueue, IsEmptyAtFirst) {
    const ReadyQueue queue;
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.First(), nullptr);
}

TEST(ReadyQueue, YieldsJobsThatCameInOrder) {
    const auto jobs = MakeJobs(1000);
    ReadyQueue queue;
    for (const auto& job : jobs)
        queue.Add(*job);
    EXPECT_EQ(TakeAll(queue), Ascending(1000));
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(ReadyQueue, YieldsJobsThatCameInReverseInOrder) {
    const auto jobs = MakeJobs(1000);
    ReadyQueue queue;
    for (auto job = jobs.rbegin(); job != jobs.rend(); ++job)
        queue.Add(**job);
    EXPECT_EQ(TakeAll(queue), Ascending(1000));
}

// The worst shape for the heap: every job a child of the first one.
TEST(ReadyQueue, TakesManySiblingsWithoutRecursion) {
    const auto jobs = MakeJobs(300'000);
    ReadyQueue queue;
    queue.Add(*jobs.back());
    for (std::size_t i = 0; i + 1 != jobs.size(); ++i)
        queue.Add(*jobs[i]);
    EXPECT_EQ(TakeAll(queue), Ascending(jobs.size()));
}

TEST(ReadyQueue, YieldsTheSameAsASortedMapWhateverComesAndGoes) {
    const std::uint32_t seed = kq_test::Seed();
    for (std::uint32_t round = 0; round != 60; ++round) {
        kq_test::Random random(seed, round);
        const auto jobs = MakeJobs(1 + random.Below(400));
        std::vector<CQueueJobAdapter*> outside;
        outside.reserve(jobs.size());
        for (const auto& job : jobs)
            outside.push_back(job.get());
        ReadyQueue queue;
        std::map<std::uint64_t, CQueueJobAdapter*> reference;
        // Adds win at first, removals at the end; a third of the steps take the first job.
        for (std::uint32_t step = 0; step != 3000; ++step) {
            const bool add = random.Below(3000) > step;
            if (add && !outside.empty()) {
                std::swap(outside[random.Below(static_cast<std::uint32_t>(outside.size()))],
                          outside.back());
                CQueueJobAdapter* const job = outside.back();
                outside.pop_back();
                queue.Add(*job);
                reference.emplace(job->sequence, job);
            } else if (!reference.empty()) {
                auto chosen = reference.begin();
                if (!random.OneIn(3))
                    std::advance(chosen,
                                 random.Below(static_cast<std::uint32_t>(reference.size())));
                queue.Remove(*chosen->second);
                outside.push_back(chosen->second);
                reference.erase(chosen);
            }
            CQueueJobAdapter* const first = reference.empty() ? nullptr : reference.begin()->second;
            ASSERT_EQ(queue.First(), first) << "round " << round << ", step " << step;
            ASSERT_EQ(queue.IsEmpty(), reference.empty());
        }
        std::vector<std::uint64_t> rest;
        rest.reserve(reference.size());
        for (const auto& [sequence, job] : reference)
            rest.push_back(sequence);
        ASSERT_EQ(TakeAll(queue), rest) << "round " << round;
    }
}

} // namespace
