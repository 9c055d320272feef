// UI queues under load from several threads.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/ui_job_queue.h>
#include <kq/win32/message_pump.h>

#include "support/hand_shake.h"
#include "support/seed.h"
#include "support/ui_messages.h"
#include "support/ui_windows.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::IsWaiting;
using kq_test::NewUIWindow;
using kq_test::Random;
using kq_test::wakeMessage;

namespace {

constexpr std::uint32_t threadCount = 4;

TEST(UITraffic, AHundredThousandJobsRunInTheOrderOfEachThreadWithFewWakeMessages) {
    constexpr std::size_t jobsPerThread = 25'000;
    std::optional<CUIJobQueue> queue;
    const HWND window = NewUIWindow([&] { queue.emplace(); });
    ASSERT_NE(window, nullptr);

    std::array<std::size_t, threadCount> next{};
    std::size_t ran = 0;
    std::size_t disorders = 0;
    Event begin;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread != threadCount; ++thread)
        threads.emplace_back([&, thread] {
            begin.Wait();
            for (std::size_t job = 0; job != jobsPerThread; ++job)
                queue->Queue([&, thread, job] {
                    ++ran;
                    if (next[thread]++ != job)
                        ++disorders;
                });
        });
    begin.Set();

    std::size_t wakes = 0;
    std::size_t surplusWakes = 0;
    kq_test::DispatchUntil(
        [&] {
            MSG message{};
            if (PeekMessageW(&message, window, wakeMessage, wakeMessage, PM_REMOVE) != FALSE) {
                ++wakes;
                // Until this one is handled there is no other.
                if (IsWaiting(window, wakeMessage))
                    ++surplusWakes;
                DispatchMessageW(&message);
            }
            return ran == threadCount * jobsPerThread;
        },
        "100,000 UI jobs");
    for (std::thread& thread : threads)
        thread.join();
    queue->Pump();

    std::printf("%zu jobs with %zu wake messages\n", ran, wakes);
    EXPECT_EQ(ran, threadCount * jobsPerThread);
    EXPECT_EQ(disorders, 0u);
    EXPECT_EQ(surplusWakes, 0u);
    EXPECT_LE(wakes, ran);
}

// What became of one job.
struct Fate {
    std::atomic<int> runs{0};
    std::atomic<bool> isWithdrawn{false};
    bool throws = false;
    CJobTicket ticket;
};

using Fates = std::vector<std::unique_ptr<Fate>>;

std::shared_ptr<CJobTermsImpl> RandomTerms(Random& random, const Fates& earlier) {
    std::shared_ptr<CJobTermsImpl> terms;
    if (random.OneIn(3) && !earlier.empty()) {
        const CJobTicket& other =
            earlier[random.Below(static_cast<std::uint32_t>(earlier.size()))]->ticket;
        terms = random.OneIn(2) ? after(other) : dependsOn(other);
    }
    if (random.OneIn(20)) {
        const auto left = std::make_shared<std::atomic<int>>(static_cast<int>(random.Below(4)));
        const StartInfo last = random.OneIn(4) ? StartInfo::Drop : StartInfo::Start;
        terms = terms & condition([left, last] {
                    return left->fetch_sub(1) > 0 ? StartInfo::Postpone : last;
                });
    }
    return random.OneIn(4) ? terms & isBlocking : terms;
}

void QueueAtRandom(CUIJobQueue& queue, Random random, std::size_t count, Fates& fates) {
    for (std::size_t job = 0; job != count; ++job) {
        fates.push_back(std::make_unique<Fate>());
        Fate& fate = *fates.back();
        fate.throws = random.OneIn(10);
        const bool pumps = random.OneIn(30);
        const bool queues = random.OneIn(30);
        const auto terms = RandomTerms(random, fates);
        fate.ticket = queue.Queue(
            [&fate, pumps, queues, &queue] {
                ++fate.runs;
                if (queues)
                    queue.Queue([] {}, inUIAsync);
                if (pumps)
                    queue.Pump();
                if (fate.throws)
                    throw std::runtime_error("on purpose");
            },
            terms);
        if (random.OneIn(5)) {
            Fate& victim = *fates[random.Below(static_cast<std::uint32_t>(fates.size()))];
            if (queue.Remove(victim.ticket))
                victim.isWithdrawn = true;
        }
    }
}

void ExpectOneEndEach(const Fates& fates) {
    for (const auto& fate : fates) {
        std::optional<std::string> error;
        ASSERT_TRUE(fate->ticket.Wait(0, error));
        ASSERT_LE(fate->runs, 1);
        ASSERT_FALSE(fate->isWithdrawn && fate->runs != 0);
        ASSERT_EQ(error.has_value(), fate->throws && fate->runs == 1);
    }
}

TEST(UITraffic, EveryJobEndsOnceInARandomSchedule) {
    const std::uint32_t seed = kq_test::Seed();
    constexpr std::size_t jobsPerThread = 3'000;
    CUIJobQueue queue;
    std::array<Fates, threadCount> fates;
    Counter finished;
    std::vector<std::thread> threads;
    for (std::uint32_t thread = 0; thread != threadCount; ++thread)
        threads.emplace_back([&, thread] {
            QueueAtRandom(queue, Random(seed, thread), jobsPerThread, fates[thread]);
            finished.Add();
        });
    const auto areAllFinished = [&] {
        if (finished.Value() != threadCount)
            return false;
        for (const Fates& ofThread : fates)
            for (const auto& fate : ofThread) {
                std::optional<std::string> error;
                if (!fate->ticket.Wait(0, error))
                    return false;
            }
        return true;
    };
    kq_test::DispatchUntil(areAllFinished, "jobs in a random schedule");
    for (std::thread& thread : threads)
        thread.join();
    for (const Fates& ofThread : fates)
        ExpectOneEndEach(ofThread);
}

TEST(UITraffic, EveryJobEndsOnceWhenItsQueueEndsAtSomeTime) {
    const std::uint32_t seed = kq_test::Seed();
    for (std::uint32_t round = 0; round != 150; ++round) {
        Random random(seed, round);
        std::optional<CUIJobQueue> queue;
        queue.emplace();
        // Jobs that wait for those of the queue that ends, and the other way round.
        CUIJobQueue other;
        std::array<Fates, threadCount> fates;
        std::vector<std::thread> threads;
        Counter arrived;
        for (std::uint32_t thread = 0; thread != threadCount; ++thread)
            threads.emplace_back([&, thread] {
                arrived.Add();
                arrived.WaitFor(threadCount);
                QueueAtRandom(*queue, Random(seed, round * threadCount + thread), 40,
                              fates[thread]);
                for (const std::size_t job : {0u, 10u, 20u})
                    other.Queue([] {}, after(fates[thread][job]->ticket));
            });
        for (std::uint32_t pumps = random.Below(20); pumps != 0; --pumps)
            queue->Pump();
        for (std::thread& thread : threads)
            thread.join();
        for (std::uint32_t pumps = random.Below(3); pumps != 0; --pumps)
            queue->Pump();
        if (random.OneIn(2))
            queue->Queue([&] { queue.reset(); }, random.OneIn(2) ? inUI : inUIAsync);
        if (queue)
            queue->Pump();
        queue.reset();
        other.Pump();
        for (const Fates& ofThread : fates)
            ExpectOneEndEach(ofThread);
    }
}

// Every thread has a queue that ends soon, and jobs that wait for those of the others.
TEST(UITraffic, QueuesOfSeveralThreadsWaitForEachOther) {
    const std::uint32_t seed = kq_test::Seed();
    std::mutex mutex;
    std::vector<CJobTicket> known;
    std::vector<std::thread> threads;
    std::atomic<std::size_t> ran{0};
    std::atomic<std::size_t> queued{0};
    std::atomic<std::size_t> unfinished{0};
    for (std::uint32_t thread = 0; thread != threadCount; ++thread)
        threads.emplace_back([&, thread] {
            Random random(seed, thread);
            for (int round = 0; round != 100; ++round) {
                std::vector<CJobTicket> own;
                {
                    CUIJobQueue queue;
                    for (int job = 0; job != 30; ++job) {
                        CJobTicket other;
                        {
                            const std::lock_guard guard(mutex);
                            if (!known.empty())
                                other =
                                    known[random.Below(static_cast<std::uint32_t>(known.size()))];
                        }
                        const auto terms = random.OneIn(2) ? after(other) : dependsOn(other);
                        own.push_back(queue.Queue([&ran] { ++ran; },
                                                  random.OneIn(3) ? terms : terms & isBlocking));
                        ++queued;
                        {
                            const std::lock_guard guard(mutex);
                            if (known.size() < 100)
                                known.push_back(own.back());
                            else
                                known[random.Below(100)] = own.back();
                        }
                        if (random.OneIn(4))
                            queue.Pump();
                    }
                }
                for (const CJobTicket& ticket : own)
                    if (!ticket.Wait(0))
                        ++unfinished;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(unfinished, 0u);
    EXPECT_GT(ran, 0u);
    EXPECT_LE(ran, queued);
}

} // namespace
