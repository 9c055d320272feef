// Randomised schedules on a pool whose threads come and go all the time.
#include <kq/concurrency/thread_pool.h>

#include "support/hand_shake.h"
#include "support/seed.h"
#include "support/stress_report.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Random;
using kq_test::ReturnsInTime;

namespace {

// What became of every job that was given to the pool.
class Ledger {
public:
    std::atomic<int>& NewJob() {
        const std::lock_guard guard(mutex_);
        return runs_.emplace_back(0);
    }
    const std::deque<std::atomic<int>>& Runs() const { return runs_; }

private:
    std::mutex mutex_;
    std::deque<std::atomic<int>> runs_;
};

void Dawdle(Random& random) {
    for (std::uint32_t yields = random.Below(4); yields != 0; --yields)
        std::this_thread::yield();
}

void StartAtRandom(CThreadPool& pool, Ledger& ledger, std::uint32_t seed, std::uint32_t stream,
                   int depth) {
    Random random(seed, stream);
    std::vector<CJobTicket> tickets;
    const int count = depth == 0 ? 60 : 2;
    for (int i = 0; i != count; ++i) {
        std::atomic<int>& runs = ledger.NewJob();
        const std::uint32_t next = random.Below(1'000'000'000);
        tickets.push_back(pool.Start([&pool, &ledger, &runs, seed, next, depth] {
            ++runs;
            Random own(seed, next);
            Dawdle(own);
            if (depth < 2 && own.OneIn(4))
                StartAtRandom(pool, ledger, seed, next, depth + 1);
            if (own.OneIn(8))
                pool.RemoveFinishedThreads();
        }));
        if (random.OneIn(3)) {
            tickets[random.Below(static_cast<std::uint32_t>(tickets.size()))].Wait();
            Dawdle(random);
        }
    }
    if (random.OneIn(2))
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
}

TEST(ThreadPoolStress, EveryStartedJobRunsOnce) {
    constexpr std::uint32_t rounds = 12;
    const std::uint32_t seed = kq_test::Seed();
    std::size_t jobs = 0;
    for (std::uint32_t round = 0; round != rounds; ++round) {
        Ledger ledger;
        ReturnsInTime("a round of starts", [&] {
            CThreadPool pool(1 + round % 3, std::chrono::duration<int>(0));
            std::vector<std::thread> starters;
            for (std::uint32_t t = 0; t != 4; ++t)
                starters.emplace_back(
                    [&, t] { StartAtRandom(pool, ledger, seed, round * 4 + t, 0); });
            for (std::thread& starter : starters)
                starter.join();
        });
        for (const std::atomic<int>& runs : ledger.Runs())
            ASSERT_EQ(runs, 1) << "round " << round;
        jobs += ledger.Runs().size();
    }
    kq_test::ReportStress(rounds, jobs);
}

// A factory that fails half of the time: who got a ticket has his job run once, who got the
// exception at most once.
TEST(ThreadPoolStress, NobodyHangsWhileThreadsCannotAlwaysBeMade) {
    constexpr std::uint32_t rounds = 12;
    const std::uint32_t seed = kq_test::Seed();
    std::size_t jobs = 0;
    for (std::uint32_t round = 0; round != rounds; ++round) {
        Ledger ledger;
        std::mutex decisions;
        Random decide(seed, 1000 + round);
        kq_test::TestFactory factory([&](std::size_t) {
            const std::lock_guard guard(decisions);
            return decide.OneIn(2);
        });
        std::deque<std::atomic<int>*> ticketed;
        std::mutex ticketedMutex;
        ReturnsInTime("a round of starts that may fail", [&] {
            CThreadPool pool(1, std::chrono::duration<int>(0), factory.Function());
            std::vector<std::thread> starters;
            for (std::uint32_t t = 0; t != 4; ++t)
                starters.emplace_back([&, t] {
                    Random random(seed, round * 4 + t);
                    for (int i = 0; i != 50; ++i) {
                        std::atomic<int>& runs = ledger.NewJob();
                        const bool waits = random.OneIn(3);
                        try {
                            const CJobTicket ticket = pool.Start([&runs] { ++runs; });
                            {
                                const std::lock_guard guard(ticketedMutex);
                                ticketed.push_back(&runs);
                            }
                            if (waits)
                                ticket.Wait();
                        } catch (const std::runtime_error&) {
                            Dawdle(random);
                        }
                    }
                });
            for (std::thread& starter : starters)
                starter.join();
            // Whatever is left in the slot needs a thread, for the tickets' sake.
            for (;;) {
                try {
                    pool.Start([] {}).Wait();
                    return;
                } catch (const std::runtime_error&) {
                    std::this_thread::yield();
                }
            }
        });
        for (const std::atomic<int>* runs : ticketed)
            ASSERT_EQ(*runs, 1) << "round " << round;
        for (const std::atomic<int>& runs : ledger.Runs())
            ASSERT_LE(runs, 1) << "round " << round;
        jobs += ledger.Runs().size();
    }
    kq_test::ReportStress(rounds, jobs);
}

} // namespace
