// Randomised schedules on a queue: every ticket ends, and every job has run or was removed, once.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/load.h"
#include "support/on_destruction.h"
#include "support/seed.h"
#include "support/stress_report.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Load;
using kq_test::Random;
using kq_test::ReturnsInTime;

namespace {

struct Record {
    std::atomic<int> runs{0};
    std::atomic<int> ends{0}; // of the callable that was queued
    std::atomic<int> removals{0};
};

// One round: several threads submit jobs with random terms, wait for some, remove some.
class Round {
public:
    Round(CJobQueue& queue, std::uint32_t seed, std::uint32_t number)
        : queue_(queue), seed_(seed), number_(number) {}

    void Submit(std::uint32_t thread, int count) {
        Random random(seed_, number_ * 16 + thread);
        std::vector<CJobTicket> own;
        for (int i = 0; i != count; ++i) {
            const CJobTicket ticket = SubmitOne(random, 0);
            own.push_back(ticket);
            if (random.OneIn(6))
                Remove(Any(random));
            if (random.OneIn(20))
                WaitFor(own[random.Below(static_cast<std::uint32_t>(own.size()))]);
            if (random.OneIn(30))
                (void)ticket.Wait(random.Below(2), ignored_[thread]);
        }
    }

    void Check(std::size_t normalLimit, std::size_t blockingLimit) {
        for (auto& [ticket, record] : jobs_) {
            ASSERT_TRUE(Ended(ticket));
            ASSERT_LE(record.runs, 1);
            ASSERT_LE(record.removals, 1);
            ASSERT_FALSE(record.runs == 1 && record.removals == 1);
            ASSERT_EQ(record.ends, 1);
        }
        EXPECT_LE(normal_.Most(), normalLimit);
        EXPECT_LE(blocking_.Most(), blockingLimit);
    }

    std::size_t JobCount() const { return jobs_.size(); }

private:
    struct Entry {
        CJobTicket ticket;
        Record& record;
    };

    CJobTicket SubmitOne(Random& random, int depth) {
        Record& record = NewRecord();
        const bool blocking = random.OneIn(3);
        std::shared_ptr<CJobTermsImpl> terms = blocking ? isBlocking : nullptr;
        for (std::uint32_t parts = random.Below(4); parts != 0; --parts)
            terms = terms & AnyTerms(random);
        const std::uint32_t stream = random.Below(1'000'000'000);
        Load& load = blocking ? blocking_ : normal_;
        CJobTicket ticket = queue_.Queue(
            [this, &record, &load, stream, depth,
             token = kq_test::OnDestruction([&record] { ++record.ends; })] {
                load.Enter();
                ++record.runs;
                Random own(seed_, stream);
                for (std::uint32_t yields = own.Below(3); yields != 0; --yields)
                    std::this_thread::yield();
                if (depth < 3 && own.OneIn(8))
                    SubmitOne(own, depth + 1);
                if (own.OneIn(10))
                    Remove(Any(own));
                load.Leave();
                if (own.OneIn(5))
                    throw std::runtime_error("no");
            },
            terms);
        const std::lock_guard guard(mutex_);
        jobs_.push_back({ticket, record});
        return ticket;
    }

    std::shared_ptr<CJobTermsImpl> AnyTerms(Random& random) {
        switch (random.Below(5)) {
            case 0:
                return after(Any(random).ticket());
            case 1:
                return after({Any(random).ticket(), Any(random).ticket(), CJobTicket()});
            case 2:
                return dependsOn(Any(random).ticket());
            case 3: {
                // Resolves after a few questions.
                const auto left =
                    std::make_shared<std::atomic<int>>(static_cast<int>(random.Below(10)));
                const StartInfo answer = random.OneIn(4) ? StartInfo::Drop : StartInfo::Start;
                return condition(
                    [left, answer] { return (*left)-- > 0 ? StartInfo::Postpone : answer; });
            }
            default:
                return dependsOn({Any(random).ticket(), Any(random).ticket()});
        }
    }

    class Choice {
    public:
        Choice() = default;
        explicit Choice(const Entry& entry) : ticket_(entry.ticket), record_(&entry.record) {}
        const CJobTicket& ticket() const { return ticket_; }
        Record* record() const { return record_; }

    private:
        CJobTicket ticket_;
        Record* record_ = nullptr;
    };

    Choice Any(Random& random) {
        const std::lock_guard guard(mutex_);
        if (jobs_.empty())
            return {};
        // Mostly one of the last.
        const std::size_t range =
            random.OneIn(4) ? jobs_.size() : std::min<std::size_t>(8, jobs_.size());
        return Choice(jobs_[jobs_.size() - 1 - random.Below(static_cast<std::uint32_t>(range))]);
    }

    void Remove(const Choice& choice) {
        if (queue_.Remove(choice.ticket()))
            ++choice.record()->removals;
    }

    static void WaitFor(const CJobTicket& ticket) {
        std::optional<std::string> error;
        ticket.Wait(error);
    }
    static bool Ended(const CJobTicket& ticket) {
        std::optional<std::string> error;
        return ticket.Wait(0, error);
    }

    Record& NewRecord() {
        const std::lock_guard guard(mutex_);
        return records_.emplace_back();
    }

    CJobQueue& queue_;
    const std::uint32_t seed_, number_;
    Load normal_, blocking_;
    std::optional<std::string> ignored_[16];
    std::mutex mutex_;
    std::deque<Record> records_;
    std::deque<Entry> jobs_;
};

TEST(JobQueueStress, EveryJobRunsOrIsRemovedOnce) {
    constexpr std::uint32_t rounds = 40;
    const std::uint32_t seed = kq_test::Seed();
    std::size_t jobs = 0;
    for (std::uint32_t number = 0; number != rounds; ++number) {
        const std::size_t limit = 1 + number % 3;
        const unsigned int factor = 1 + number % 2;
        std::optional<Round> round;
        ReturnsInTime("a round of random jobs", [&] {
            const auto pool = std::make_shared<CThreadPool>(limit, std::chrono::duration<int>(0));
            std::optional<CJobQueue> queue(std::in_place, pool, factor);
            round.emplace(*queue, seed, number);
            std::vector<std::thread> threads;
            for (std::uint32_t t = 0; t != 4; ++t)
                threads.emplace_back([&, t] { round->Submit(t, 150); });
            for (std::thread& thread : threads)
                thread.join();
            queue.reset();
        });
        round->Check(limit, limit * factor);
        ASSERT_FALSE(HasFailure()) << "round " << number;
        jobs += round->JobCount();
    }
    kq_test::ReportStress(rounds, jobs);
}

// Bursts with pauses in which the dispatchers go home: no job is forgotten between the last look of
// one and the start of the next.
TEST(JobQueueStress, NoJobIsForgottenWhileDispatchersComeAndGo) {
    const std::uint32_t seed = kq_test::Seed();
    const auto pool = std::make_shared<CThreadPool>(2);
    CJobQueue queue(pool, 1);
    Random random(seed, 0);
    constexpr std::uint64_t pairs = 20'000;
    for (std::uint64_t i = 0; i != pairs; ++i) {
        const CJobTicket first = queue.Queue([] {});
        const CJobTicket second =
            random.OneIn(2) ? queue.Queue([] {}) : queue.Queue([] {}, after(first));
        for (std::uint32_t spins = random.Below(400); spins != 0; --spins)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        ASSERT_TRUE(second.Wait(30'000)) << "pair " << i;
        ASSERT_TRUE(first.Wait(30'000)) << "pair " << i;
    }
    kq_test::ReportStress(pairs, 2 * pairs);
}

// Threads can be made half of the time only. Whoever gets a ticket waits for nothing in vain, as
// long as submissions go on.
TEST(JobQueueStress, AQueueWithoutReliableThreadsLosesNothing) {
    const std::uint32_t seed = kq_test::Seed();
    constexpr std::uint32_t rounds = 20;
    std::uint64_t jobs = 0;
    for (std::uint32_t number = 0; number != rounds; ++number) {
        std::mutex decisions;
        Random decide(seed, 1000 + number);
        kq_test::TestFactory factory([&](std::size_t) {
            const std::lock_guard guard(decisions);
            return decide.OneIn(2);
        });
        std::atomic<int> ran{0}, gone{0};
        int queued = 0;
        ReturnsInTime("a round with unreliable threads", [&] {
            const auto pool =
                std::make_shared<CThreadPool>(1, std::chrono::duration<int>(0), factory.Function());
            CJobQueue queue(pool, 2);
            Random random(seed, number);
            CJobTicket last;
            for (int i = 0; i != 200; ++i) {
                ++queued;
                const Job job = [&, token = kq_test::OnDestruction([&] { ++gone; })] { ++ran; };
                try {
                    std::shared_ptr<CJobTermsImpl> terms = random.OneIn(2) ? isBlocking : nullptr;
                    if (random.OneIn(2))
                        terms = terms & after(last);
                    last = queue.Queue(Job(job), terms);
                } catch (const std::runtime_error&) {
                    std::this_thread::yield();
                }
            }
        });
        ASSERT_EQ(gone, queued) << "round " << number;
        ASSERT_LE(ran, queued) << "round " << number;
        jobs += static_cast<std::uint64_t>(queued);
    }
    kq_test::ReportStress(rounds, jobs);
}

} // namespace
