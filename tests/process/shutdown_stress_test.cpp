// The services go and come back in the middle of everything.
#include <kq/kq.h>

#include "support/hand_shake.h"
#include "support/seed.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Random;

namespace {

constexpr std::uint32_t threadCount = 4;

/// A thread of the host that uses whatever service there is, and ends when there are none.
class User {
public:
    User(std::uint32_t seed, std::uint32_t stream, Counter& steps) noexcept
        : random_(seed, stream), steps_(steps) {}

    void Run() {
        while (const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared()) {
            try {
                Step(*queue);
            } catch (const std::runtime_error&) {
                // A service has gone meanwhile.
            }
            steps_.Add();
        }
    }

    /// Whether every job has ended, and none has run twice.
    bool IsSettled() const {
        std::optional<std::string> error;
        for (const Record& record : records_)
            if (!record.ticket.Wait(0, error) || *record.runs > 1)
                return false;
        return true;
    }

    std::size_t JobCount() const { return records_.size(); }

private:
    struct Record {
        CJobTicket ticket;
        std::shared_ptr<std::atomic<int>> runs;
    };

    void Step(CJobQueue& queue) {
        const auto runs = std::make_shared<std::atomic<int>>(0);
        const auto run = [runs] { ++*runs; };
        switch (random_.Below(6)) {
            case 0:
                if (const auto pool = threadPool.GetShared())
                    records_.push_back({pool->Start(run), runs});
                break;
            case 1:
                UseOthers();
                break;
            case 2:
                if (!records_.empty())
                    queue.Remove(Any().ticket);
                break;
            case 3:
                if (!records_.empty())
                    records_.push_back(
                        {queue.Queue(run, dependsOn(Any().ticket) & isBlocking), runs});
                break;
            case 4:
                records_.push_back({queue.Queue(run, inUIAsync), runs});
                break;
            default:
                records_.push_back(
                    {queue.Queue(run, random_.OneIn(3) ? isBlocking : nullptr), runs});
                break;
        }
    }

    void UseOthers() {
        if (const auto names = kq::thread::threadNameManager.GetShared())
            names->SetCurrentName("user");
    }

    const Record& Any() {
        return records_[random_.Below(static_cast<std::uint32_t>(records_.size()))];
    }

    Random random_;
    Counter& steps_;
    std::vector<Record> records_;
};

/// The scheduler is the one service that has to exist when it is reached: its jobs are made before.
void RegisterTimedJobs(Random& random) {
    for (int job = 0; job != 4; ++job)
        GetTimedJobScheduler().Register(
            [](const TimedJobTicket&) {
                if (const auto queue = jobQueue.GetShared())
                    queue->Queue([] {});
            },
            std::chrono::milliseconds(random.Below(3)), random.OneIn(2));
}

TEST(ShutdownStress, WhateverIsInUseMayBeShutDown) {
    constexpr std::uint32_t rounds = 60;
    const std::uint32_t seed = kq_test::Seed();
    Random random(seed, rounds * threadCount);
    std::size_t jobs = 0;
    for (std::uint32_t round = 0; round != rounds; ++round) {
        Counter steps;
        std::vector<User> users;
        users.reserve(threadCount);
        for (std::uint32_t thread = 0; thread != threadCount; ++thread)
            users.emplace_back(seed, round * threadCount + thread, steps);
        RegisterTimedJobs(random);
        std::vector<std::thread> threads;
        threads.reserve(users.size());
        for (User& user : users)
            threads.emplace_back([&user] { user.Run(); });
        steps.WaitFor(random.Below(400), "steps of users");
        kq::Shutdown();
        for (std::thread& thread : threads)
            thread.join();
        kq::Startup();
        for (const User& user : users) {
            ASSERT_TRUE(user.IsSettled()) << "round " << round;
            jobs += user.JobCount();
        }
    }
    kq_test::ReportStress(rounds, jobs);
}

} // namespace
