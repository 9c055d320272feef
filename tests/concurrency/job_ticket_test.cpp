#include <kq/concurrency/job_ticket.h>
#include <kq/concurrency/thread_pool.h>

#include "support/hand_shake.h"
#include "support/seed.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using kq::concurrency::CJobTicket;
using kq::concurrency::CThreadPool;
using kq_test::Event;
using kq_test::ReturnsInTime;

namespace {

class JobTicket : public testing::Test {
protected:
    CJobTicket StartBlocked() {
        return pool.Start([this] {
            started.Set();
            release.Wait("the release of a job");
        });
    }
    CJobTicket Finished() {
        CJobTicket ticket = pool.Start([] {});
        ticket.Wait();
        return ticket;
    }
    CJobTicket Failed() {
        CJobTicket ticket = pool.Start([] { throw std::runtime_error("x"); });
        std::optional<std::string> error;
        ticket.Wait(error);
        return ticket;
    }

    Event started;
    Event release;
    CThreadPool pool;
};

TEST_F(JobTicket, AnEmptyOneIsFinished) {
    const CJobTicket empty;
    empty.Wait();
    EXPECT_TRUE(empty.Wait(0));
    EXPECT_TRUE(empty.Wait(ULONG_MAX));
    EXPECT_EQ(empty.State(), nullptr);
}

TEST_F(JobTicket, WaitingOnAnEmptyOneLeavesTheErrorAsItIs) {
    const CJobTicket empty;
    std::optional<std::string> error = "before";
    empty.Wait(error);
    EXPECT_EQ(error, "before");
    EXPECT_TRUE(empty.Wait(0, error));
    EXPECT_EQ(error, "before");
}

TEST_F(JobTicket, WaitReturnsWhenTheJobIsDone) {
    std::atomic<bool> hasRun{false};
    pool.Start([&] { hasRun = true; }).Wait();
    EXPECT_TRUE(hasRun);
}

TEST_F(JobTicket, AZeroWaitOnAnUnfinishedJobReturnsFalse) {
    const CJobTicket running = StartBlocked();
    started.Wait();
    EXPECT_FALSE(running.Wait(0));
    std::optional<std::string> error = "before";
    EXPECT_FALSE(running.Wait(0, error));
    EXPECT_EQ(error, std::nullopt);
    release.Set();
    running.Wait();
    EXPECT_TRUE(running.Wait(0));
}

TEST_F(JobTicket, ATimedWaitTakesItsTimeAndClearsTheError) {
    const CJobTicket running = StartBlocked();
    const auto begin = std::chrono::steady_clock::now();
    std::optional<std::string> error = "before";
    EXPECT_FALSE(running.Wait(20, error));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_FALSE(running.Wait(20));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(40));
    release.Set();
}

TEST_F(JobTicket, ALongWaitEndsWithTheJob) {
    for (const unsigned long milliseconds : {ULONG_MAX, ULONG_MAX - 1, ULONG_MAX / 2 + 1}) {
        Event go;
        const CJobTicket running = pool.Start([&] { go.Wait(); });
        ReturnsInTime("a long wait", [&] {
            std::thread opener([&] { go.Set(); });
            std::optional<std::string> error;
            if (!running.Wait(milliseconds) || !running.Wait(milliseconds, error))
                kq_test::FailHandShake("a long wait ended early");
            opener.join();
        });
    }
}

TEST_F(JobTicket, AFailureIsThrownByWaitAndTimedWait) {
    const CJobTicket failed = Failed();
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { failed.Wait(); }), "x");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { (void)failed.Wait(0); }), "x");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { (void)failed.Wait(ULONG_MAX); }), "x");
}

TEST_F(JobTicket, AFailureIsTextForThoseWhoAskForIt) {
    const CJobTicket failed = Failed();
    std::optional<std::string> error;
    failed.Wait(error);
    EXPECT_EQ(error, "x");
    error.reset();
    EXPECT_TRUE(failed.Wait(0, error));
    EXPECT_EQ(error, "x");
}

TEST_F(JobTicket, ASuccessResetsAnEngagedError) {
    std::optional<std::string> error = "before";
    Finished().Wait(error);
    EXPECT_EQ(error, std::nullopt);
    error = "before";
    EXPECT_TRUE(Finished().Wait(1000, error));
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(JobTicket, EveryWaiterGetsTheVeryObjectThatWasThrown) {
    const CJobTicket failed = Failed();
    const std::exception* first = nullptr;
    for (int i = 0; i != 3; ++i) {
        try {
            failed.Wait();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            if (first == nullptr)
                first = &error;
            EXPECT_EQ(first, &error);
        }
    }
}

TEST_F(JobTicket, CopiesAreEqualAndTicketsOfTwoJobsAreNot) {
    const CJobTicket one = Finished();
    const CJobTicket copy = one; // NOLINT(performance-unnecessary-copy-initialization)
    const CJobTicket other = Finished();
    EXPECT_TRUE(one == copy);
    EXPECT_FALSE(one != copy);
    EXPECT_FALSE(one < copy || one > copy);
    EXPECT_TRUE(one <= copy && one >= copy);
    EXPECT_TRUE(one != other);
    EXPECT_NE(one < other, other < one);
    EXPECT_EQ(one<other, other> one);
    EXPECT_EQ(one < other, one <= other);
    EXPECT_EQ(one < other, other >= one);
}

TEST_F(JobTicket, AnEmptyOneIsBeforeEveryOtherAndEqualToAnotherEmptyOne) {
    const CJobTicket empty;
    const CJobTicket one = Finished();
    EXPECT_TRUE(empty < one);
    EXPECT_FALSE(one < empty);
    EXPECT_TRUE(empty == CJobTicket());
    EXPECT_EQ(std::set<CJobTicket>({one, empty, one, CJobTicket()}).size(), 2U);
}

TEST_F(JobTicket, AMovedFromOneIsEmpty) {
    CJobTicket one = Finished();
    const CJobTicket copy = one;
    const CJobTicket moved = std::move(one);
    EXPECT_TRUE(one == CJobTicket()); // NOLINT(bugprone-use-after-move): the point of the test
    EXPECT_TRUE(moved == copy);
}

TEST_F(JobTicket, OutlivesThePool) {
    CJobTicket ticket;
    {
        CThreadPool shortLived;
        ticket = shortLived.Start([] { throw std::runtime_error("x"); });
    }
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { ticket.Wait(); }), "x");
}

TEST_F(JobTicket, AllWaitersWakeUnderStress) {
    const std::uint32_t seed = kq_test::Seed();
    constexpr int rounds = 200;
    std::vector<CJobTicket> tickets(rounds);
    std::vector<Event> posted(rounds), go(rounds);
    std::atomic<int> failures{0};
    std::atomic<int> wokenUp{0};
    std::vector<std::thread> waiters;
    for (std::uint32_t t = 0; t != 3; ++t)
        waiters.emplace_back([&, t] {
            kq_test::Random random(seed, t);
            for (int round = 0; round != rounds; ++round) {
                posted[static_cast<std::size_t>(round)].Wait();
                const CJobTicket& ticket = tickets[static_cast<std::size_t>(round)];
                try {
                    if (random.OneIn(2))
                        ticket.Wait();
                    else
                        while (!ticket.Wait(random.Below(3))) {
                        }
                } catch (const std::runtime_error&) {
                    ++failures;
                }
                ++wokenUp;
            }
        });
    kq_test::Random random(seed, 100);
    for (std::size_t round = 0; round != rounds; ++round) {
        tickets[round] = pool.Start([&, round, fails = round % 2 != 0] {
            go[round].Wait();
            if (fails)
                throw std::runtime_error("x");
        });
        posted[round].Set();
        for (std::uint32_t yields = random.Below(20); yields != 0; --yields)
            std::this_thread::yield();
        go[round].Set();
    }
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(wokenUp, 3 * rounds);
    EXPECT_EQ(failures, 3 * rounds / 2);
}

} // namespace
