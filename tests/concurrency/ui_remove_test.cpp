// Withdrawing jobs from a UI queue.
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::OnDestruction;
using kq_test::ReturnsInTime;

namespace {

TEST(UIRemove, WithdrawsAJobThatTheUIThreadHasNotLookedAt) {
    CUIJobQueue queue;
    bool hasRun = false;
    CJobTicket ticket;
    std::thread([&] { ticket = queue.Queue([&] { hasRun = true; }); }).join();
    Event woken;
    std::thread waiter([&] {
        ticket.Wait();
        woken.Set();
    });
    EXPECT_TRUE(queue.Remove(ticket));
    woken.Wait("the waiter of a withdrawn job");
    waiter.join();
    std::optional<std::string> error = "before";
    ticket.Wait(error);
    EXPECT_EQ(error, std::nullopt);
    EXPECT_FALSE(queue.Remove(ticket));
    queue.Pump();
    EXPECT_FALSE(hasRun);
}

TEST(UIRemove, TakesOneJobFromAmongOthers) {
    CUIJobQueue queue;
    for (int removed = 0; removed != 3; ++removed) {
        std::string order;
        CJobTicket tickets[3];
        for (int job = 0; job != 3; ++job)
            tickets[job] = queue.Queue([&order, job] { order += std::to_string(job); }, inUIAsync);
        EXPECT_TRUE(queue.Remove(tickets[removed]));
        queue.Pump();
        std::string expected = "012";
        expected.erase(static_cast<std::size_t>(removed), 1);
        EXPECT_EQ(order, expected);
    }
}

TEST(UIRemove, LeavesAJobThatTheUIThreadHasTakenOver) {
    CUIJobQueue queue;
    bool isOpen = false;
    int ran = 0;
    const CJobTicket gate = queue.Queue(
        [] {},
        isBlocking & condition([&] { return isOpen ? StartInfo::Start : StartInfo::Postpone; }));
    const CJobTicket waiting = queue.Queue([&] { ++ran; }, after(gate));
    queue.Pump();
    EXPECT_FALSE(queue.Remove(gate));
    EXPECT_FALSE(queue.Remove(waiting));
    isOpen = true;
    queue.Queue([] {}, inUIAsync);
    queue.Pump();
    EXPECT_EQ(ran, 1);
}

TEST(UIRemove, LeavesTheJobsBehindTheRunningOne) {
    CUIJobQueue queue;
    bool wasRemoved = true;
    bool hasRun = false;
    CJobTicket second;
    queue.Queue([&] { wasRemoved = queue.Remove(second); }, inUIAsync);
    second = queue.Queue([&] { hasRun = true; }, inUIAsync);
    queue.Pump();
    EXPECT_FALSE(wasRemoved);
    EXPECT_TRUE(hasRun);
}

TEST(UIRemove, KnowsOnlyItsOwnPendingJobs) {
    CUIJobQueue queue;
    CUIJobQueue other;
    EXPECT_FALSE(queue.Remove(CJobTicket()));
    EXPECT_FALSE(queue.Remove(queue.Queue([] {})));
    const CJobTicket posted = queue.Queue([] {}, inUIAsync);
    EXPECT_FALSE(other.Remove(posted));
    bool ofRunning = true;
    queue.Queue([&] { ofRunning = queue.Remove(thisJob()); }, inUIAsync);
    queue.Pump();
    EXPECT_FALSE(ofRunning);
    EXPECT_FALSE(queue.Remove(posted));
}

TEST(UIRemove, LetsDependentJobsGoOn) {
    CUIJobQueue queue;
    bool afterRan = false;
    bool dependentRan = false;
    const CJobTicket first = queue.Queue([] {}, inUIAsync);
    queue.Queue([&] { afterRan = true; }, after(first));
    const CJobTicket dependent = queue.Queue([&] { dependentRan = true; }, dependsOn(first));
    EXPECT_TRUE(queue.Remove(first));
    queue.Pump();
    EXPECT_TRUE(afterRan);
    EXPECT_FALSE(dependentRan);
    EXPECT_TRUE(dependent.Wait(0));
}

// What a job captures may use the queue as it is destroyed, which hangs under a lock of the queue.
TEST(UIRemove, DestroysWhatTheJobCapturedWithoutAnyLock) {
    ReturnsInTime("the withdrawal of a job", [] {
        CUIJobQueue queue;
        bool jobGone = false;
        bool conditionGone = false;
        const CJobTicket other = queue.Queue([] {}, inUIAsync);
        const auto useQueue = [&queue](bool& gone) {
            return OnDestruction([&queue, &gone] {
                queue.Queue([] {}, inUIAsync);
                gone = true;
            });
        };
        const CJobTicket ticket = queue.Queue(
            [token = useQueue(jobGone)] {},
            isBlocking & condition([token = useQueue(conditionGone)] { return StartInfo::Start; }));
        EXPECT_TRUE(queue.Remove(ticket));
        EXPECT_TRUE(jobGone);
        EXPECT_TRUE(conditionGone);
        EXPECT_TRUE(queue.Remove(other));
    });
}

} // namespace
