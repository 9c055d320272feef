// Jobs whose condition has to be asked.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::ReturnsInTime;

namespace {

class JobQueueConditions : public testing::Test {
protected:
    // A job that keeps the only dispatcher of `single` busy until `release`.
    CJobTicket Block() {
        CJobTicket ticket = single.Queue([this] {
            started.Set();
            release.Wait();
        });
        started.Wait();
        return ticket;
    }

    Event started, release;
    const std::shared_ptr<CThreadPool> pool = std::make_shared<CThreadPool>(1);
    CJobQueue single{pool, 1};
    CJobQueue queue{std::make_shared<CThreadPool>(3), 1};
};

TEST_F(JobQueueConditions, AJobStartsWhenItsConditionSaysSo) {
    std::atomic<int> asked{0};
    const CJobTicket ticket = queue.Queue(
        [] {}, condition([&] { return ++asked < 50 ? StartInfo::Postpone : StartInfo::Start; }));
    EXPECT_TRUE(ticket.Wait(30'000));
    EXPECT_GE(asked, 50);
}

TEST_F(JobQueueConditions, AJobWhoseConditionSaysDropEndsAsRemoved) {
    bool ran = false;
    std::atomic<int> asked{0};
    const CJobTicket ticket =
        queue.Queue([&] { ran = true; },
                    condition([&] { return ++asked < 3 ? StartInfo::Postpone : StartInfo::Drop; }));
    ticket.Wait();
    EXPECT_FALSE(ran);
    EXPECT_FALSE(queue.Remove(ticket));
}

TEST_F(JobQueueConditions, AnEmptyConditionIsNone) {
    EXPECT_TRUE(queue.Queue([] {}, condition({})).Wait(30'000));
}

TEST_F(JobQueueConditions, AnAnswerThatIsNoneOfTheThreePostpones) {
    std::atomic<int> asked{0};
    const CJobTicket ticket = queue.Queue(
        [] {},
        condition([&] { return ++asked < 3 ? static_cast<StartInfo>(7) : StartInfo::Start; }));
    EXPECT_TRUE(ticket.Wait(30'000));
    EXPECT_EQ(asked, 3);
}

TEST_F(JobQueueConditions, ConditionsAreAskedOnThreadsOfThePoolOnly) {
    std::mutex mutex;
    std::set<std::thread::id> askers;
    std::atomic<int> asked{0};
    const CJobTicket ticket =
        queue.Queue([] {}, condition([&] {
                        const std::lock_guard guard(mutex);
                        askers.insert(std::this_thread::get_id());
                        return ++asked < 20 ? StartInfo::Postpone : StartInfo::Start;
                    }));
    for (int i = 0; i != 20; ++i)
        queue.Remove(queue.Queue([] {}));
    ticket.Wait();
    EXPECT_EQ(askers.count(std::this_thread::get_id()), 0U);
}

TEST_F(JobQueueConditions, APostponedJobDoesNotHoldUpOthers) {
    std::atomic<bool> go{false};
    const CJobTicket waiting =
        single.Queue([] {}, condition([&] { return go ? StartInfo::Start : StartInfo::Postpone; }));
    for (int i = 0; i != 200; ++i)
        ASSERT_TRUE(single.Queue([] {}).Wait(30'000));
    EXPECT_FALSE(waiting.Wait(0));
    go = true;
    EXPECT_TRUE(waiting.Wait(30'000));
}

TEST_F(JobQueueConditions, TheFirstThatMayStartWinsAndLaterOnesAreStillDropped) {
    Block();
    std::vector<int> order;
    const auto noting = [&](int number) { return [&order, number] { order.push_back(number); }; };
    const CJobTicket postponed = single.Queue(
        noting(0),
        condition([&] { return order.size() < 3 ? StartInfo::Postpone : StartInfo::Start; }));
    const CJobTicket first = single.Queue(noting(1), condition([] { return StartInfo::Start; }));
    const CJobTicket plain = single.Queue(noting(2));
    bool runningWhenDropped = false;
    const CJobTicket dropped = single.Queue(noting(3), condition([&] {
                                                runningWhenDropped = order.empty();
                                                return StartInfo::Drop;
                                            }));
    const CJobTicket second = single.Queue(noting(4), condition([] { return StartInfo::Start; }));
    release.Set();
    for (const CJobTicket& ticket : {postponed, first, plain, dropped, second})
        ticket.Wait();
    EXPECT_TRUE(runningWhenDropped);
    ASSERT_EQ(order.size(), 4U);
    EXPECT_EQ(order[0], 1);
    EXPECT_EQ(order[1], 2);
    EXPECT_EQ(order[2], 4);
    EXPECT_EQ(order[3], 0);
}

TEST_F(JobQueueConditions, AConditionMayUseTheQueueItIsAskedBy) {
    ReturnsInTime("a condition that uses the queue", [&] {
        Block();
        const CJobTicket victim = single.Queue([] {});
        std::atomic<bool> innerRan{false};
        bool removed = false, hadEnded = true;
        CJobTicket inner;
        const CJobTicket ticket =
            single.Queue([] {}, condition([&] {
                             if (!removed) {
                                 hadEnded = victim.Wait(0);
                                 removed = true;
                                 single.Remove(victim);
                                 inner = single.Queue([&] { innerRan = true; });
                                 (void)pool->ThreadCount();
                             }
                             return inner.Wait(0) ? StartInfo::Start : StartInfo::Postpone;
                         }));
        release.Set();
        ticket.Wait();
        if (!removed || !innerRan)
            kq_test::FailHandShake("a condition did not do its work");
    });
}

// The pass over the conditions goes on although what it stands on is taken away.
TEST_F(JobQueueConditions, AConditionMayRemoveItsNeighboursAndItself) {
    for (int victims = 0; victims != 8; ++victims) {
        Event isBlocked, begin;
        CJobQueue own(std::make_shared<CThreadPool>(1), 1);
        const CJobTicket blocking = own.Queue([&] {
            isBlocked.Set();
            begin.Wait();
        });
        // No condition is asked before all tickets are there.
        isBlocked.Wait();
        std::vector<CJobTicket> tickets(3);
        std::atomic<int> ran{0};
        for (std::size_t i = 0; i != 3; ++i)
            tickets[i] = own.Queue([&] { ++ran; }, condition([&, i] {
                                       if (i == 1)
                                           for (std::size_t j = 0; j != 3; ++j)
                                               if ((victims >> j) % 2 != 0)
                                                   own.Remove(tickets[j]);
                                       return i == 0 && !tickets[1].Wait(0) ? StartInfo::Postpone
                                                                            : StartInfo::Start;
                                   }));
        begin.Set();
        for (const CJobTicket& ticket : tickets)
            ASSERT_TRUE(ticket.Wait(30'000)) << victims;
        // The first one to ask removes; the second job may have been taken before, but not itself.
        EXPECT_GE(ran, victims == 7 ? 0 : 1) << victims;
        EXPECT_LE(ran, 3);
    }
}

TEST_F(JobQueueConditions, AConditionThatIsBeingAskedOutlivesTheRemovalOfItsJob) {
    Event asked, answer, gone;
    std::atomic<bool> isGone{false};
    bool goneWhileAsked = true;
    ReturnsInTime("the removal of a job whose condition is being asked", [&] {
        const CJobTicket ticket =
            queue.Queue([] {}, condition([&, token = kq_test::OnDestruction([&] {
                                                 isGone = true;
                                                 // Not under a lock of the queue.
                                                 queue.Queue([&] { gone.Set(); });
                                             })] {
                            asked.Set();
                            answer.Wait();
                            goneWhileAsked = isGone;
                            return StartInfo::Start;
                        }));
        asked.Wait();
        if (!queue.Remove(ticket) || !ticket.Wait(0) || queue.Remove(ticket))
            kq_test::FailHandShake("a job could not be removed while its condition was asked");
        answer.Set();
        gone.Wait("the end of a condition");
    });
    EXPECT_FALSE(goneWhileAsked);
}

TEST_F(JobQueueConditions, ATicketAndAConditionTogetherAreBothWaitedFor) {
    const CJobTicket running = Block();
    std::atomic<bool> go{false};
    const auto opaque = condition([&] { return go ? StartInfo::Start : StartInfo::Postpone; });
    bool early = true;
    const CJobTicket ticket =
        queue.Queue([&] { early = !running.Wait(0) || !go; }, opaque & after(running));
    release.Set();
    running.Wait();
    EXPECT_FALSE(ticket.Wait(0));
    go = true;
    ticket.Wait();
    EXPECT_FALSE(early);
}

TEST_F(JobQueueConditions, ManyPolledJobsAllStart) {
    constexpr int count = 2'000;
    std::atomic<bool> go{false};
    std::atomic<int> ran{0};
    std::vector<CJobTicket> tickets;
    for (int i = 0; i != count; ++i)
        tickets.push_back(queue.Queue([&] { ++ran; }, condition([&] {
                                          return go ? StartInfo::Start : StartInfo::Postpone;
                                      })));
    go = true;
    for (const CJobTicket& ticket : tickets)
        ticket.Wait();
    EXPECT_EQ(ran, count);
}

} // namespace
