#include "concurrency/job_state.h"

#include "concurrency/finish_cascade.h"
#include "support/seed.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace kq::concurrency;

namespace {

class Teller final : public Dependent {
public:
    void OnFinished(FinishCascade& /*cascade*/) noexcept override { ++told; }

    std::atomic<int> told{0};
};

void Finish(CJobState& state) {
    FinishCascade cascade;
    state.Withdraw(cascade);
    cascade.Run();
}

TEST(JobState, IsPendingAtFirst) {
    const CJobState state;
    EXPECT_EQ(state.Status(), JobStatus::Pending);
    EXPECT_FALSE(state.IsFinished());
    EXPECT_EQ(state.Thread(), 0U);
    EXPECT_FALSE(state.Wait(0));
}

TEST(JobState, RunsOnAThreadAndThenOnNone) {
    CJobState state;
    state.Begin();
    EXPECT_EQ(state.Status(), JobStatus::Running);
    EXPECT_FALSE(state.IsFinished());
    EXPECT_EQ(state.Thread(), GetCurrentThreadId());
    FinishCascade cascade;
    state.Succeed(cascade);
    EXPECT_EQ(state.Status(), JobStatus::Done);
    EXPECT_TRUE(state.IsFinished());
    EXPECT_EQ(state.Thread(), 0U);
    EXPECT_EQ(state.ErrorText(), std::nullopt);
}

TEST(JobState, AFailureLeavesTheThreadAndKeepsTheError) {
    CJobState state;
    state.Begin();
    FinishCascade cascade;
    state.Fail(std::make_exception_ptr(std::runtime_error("x")), cascade);
    EXPECT_EQ(state.Status(), JobStatus::Failed);
    EXPECT_EQ(state.Thread(), 0U);
    EXPECT_EQ(state.ErrorText(), "x");
    EXPECT_THROW(std::rethrow_exception(state.Error()), std::runtime_error);
}

TEST(JobState, TheNumbersOfTheStatusesAreFixed) {
    static_assert(static_cast<unsigned int>(JobStatus::Pending) == 0);
    static_assert(static_cast<unsigned int>(JobStatus::Running) == 1);
    static_assert(static_cast<unsigned int>(JobStatus::Done) == 2);
    static_assert(static_cast<unsigned int>(JobStatus::Failed) == 3);
    static_assert(static_cast<unsigned int>(JobStatus::Removed) == 4);
    SUCCEED();
}

TEST(JobState, AMarkLeftByAWaiterDoesNotChangeTheStatus) {
    CJobState state;
    EXPECT_FALSE(state.Wait(1));
    EXPECT_EQ(state.Status(), JobStatus::Pending);
    state.Begin();
    EXPECT_EQ(state.Status(), JobStatus::Running);
    EXPECT_FALSE(state.Wait(1));
    EXPECT_EQ(state.Status(), JobStatus::Running);
    Teller teller;
    EXPECT_TRUE(state.AddDependent(teller));
    EXPECT_EQ(state.Status(), JobStatus::Running);
    FinishCascade cascade;
    state.Succeed(cascade);
    EXPECT_EQ(state.Status(), JobStatus::Done);
}

TEST(JobState, TellsEveryDependentOnce) {
    CJobState state;
    std::deque<Teller> tellers(5);
    for (Teller& teller : tellers)
        EXPECT_TRUE(state.AddDependent(teller));
    Finish(state);
    for (const Teller& teller : tellers)
        EXPECT_EQ(teller.told, 1);
}

TEST(JobState, RefusesADependentOnceFinished) {
    CJobState state;
    Finish(state);
    Teller teller;
    EXPECT_FALSE(state.AddDependent(teller));
    EXPECT_EQ(teller.told, 0);
}

// The list is circular on one side: each position is a case of its own.
TEST(JobState, DoesNotTellADependentThatLeft) {
    for (std::size_t count = 1; count != 5; ++count)
        for (std::size_t first = 0; first != count; ++first)
            for (std::size_t second = 0; second != count; ++second) {
                CJobState state;
                std::deque<Teller> tellers(count);
                for (Teller& teller : tellers)
                    state.AddDependent(teller);
                EXPECT_TRUE(state.RemoveDependent(tellers[first]));
                EXPECT_EQ(state.RemoveDependent(tellers[second]), first != second);
                Teller late;
                EXPECT_TRUE(state.AddDependent(late));
                Finish(state);
                for (std::size_t i = 0; i != count; ++i)
                    EXPECT_EQ(tellers[i].told, i != first && i != second ? 1 : 0);
                EXPECT_EQ(late.told, 1);
            }
}

TEST(JobState, ADependentThatWasToldCannotLeaveAnyMore) {
    CJobState state;
    Teller teller;
    state.AddDependent(teller);
    Finish(state);
    EXPECT_FALSE(state.RemoveDependent(teller));
}

TEST(JobState, ADependentMayWaitForAnotherJobAfterwards) {
    CJobState first, second;
    Teller teller;
    first.AddDependent(teller);
    Finish(first);
    EXPECT_TRUE(second.AddDependent(teller));
    Finish(second);
    EXPECT_EQ(teller.told, 2);
}

// Threads register and take back while another one finishes the job: each dependent is told exactly
// when its registration succeeded and its removal did not.
TEST(JobState, TellsExactlyThoseWhoStayUnderStress) {
    const std::uint32_t seed = kq_test::Seed();
    constexpr std::uint32_t rounds = 150;
    constexpr std::uint32_t threadCount = 3;
    for (std::uint32_t round = 0; round != rounds; ++round) {
        CJobState state;
        std::deque<Teller> tellers(std::size_t{20} * threadCount);
        std::vector<int> expected(tellers.size());
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (std::uint32_t t = 0; t != threadCount; ++t)
            threads.emplace_back([&, t] {
                kq_test::Random random(seed, round * threadCount + t);
                while (!go)
                    std::this_thread::yield();
                for (std::size_t i = t; i < tellers.size(); i += threadCount) {
                    if (!state.AddDependent(tellers[i]))
                        continue;
                    expected[i] = 1;
                    if (random.OneIn(2) && state.RemoveDependent(tellers[i]))
                        expected[i] = 0;
                }
            });
        go = true;
        kq_test::Random random(seed + 1, round);
        for (std::uint32_t spin = random.Below(2'000); spin != 0; --spin)
            YieldProcessor();
        Finish(state);
        for (std::thread& thread : threads)
            thread.join();
        for (std::size_t i = 0; i != tellers.size(); ++i)
            ASSERT_EQ(tellers[i].told, expected[i]) << "round " << round << ", dependent " << i;
    }
}

} // namespace
