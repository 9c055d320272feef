// The end of a UI queue that still has jobs.
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/ui_messages.h"
#include "support/ui_windows.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::IsWaiting;
using kq_test::OnDestruction;
using kq_test::ReturnsInTime;

namespace {

std::shared_ptr<CJobTermsImpl> Never() {
    return isBlocking & condition([] { return StartInfo::Postpone; });
}

TEST(UIClosing, EndsEveryJobAsRemovedAndWakesItsWaiters) {
    CUIJobQueue other;
    const CJobTicket unfinished = other.Queue([] {}, inUIAsync);
    std::optional<CUIJobQueue> queue;
    queue.emplace();
    int ran = 0;
    std::vector<CJobTicket> tickets;
    const auto add = [&](const std::shared_ptr<CJobTermsImpl>& terms) {
        tickets.push_back(queue->Queue([&ran] { ++ran; }, terms));
    };
    // Taken over, and waiting for tickets or conditions.
    add(Never());
    add(after(unfinished));
    add(dependsOn({unfinished, tickets.front()}));
    add(after(unfinished) & Never());
    queue->Pump();
    // Not looked at yet.
    add(inUIAsync);
    add(after(tickets.front()));
    add(Never());

    Counter waiting;
    Counter woken;
    std::vector<std::thread> waiters;
    waiters.reserve(tickets.size());
    for (const CJobTicket& ticket : tickets)
        waiters.emplace_back([&, ticket] {
            waiting.Add();
            std::optional<std::string> error = "before";
            ticket.Wait(error);
            EXPECT_EQ(error, std::nullopt);
            woken.Add();
        });
    waiting.WaitFor(tickets.size());
    queue.reset();
    woken.WaitFor(tickets.size(), "the waiters of the jobs of a queue that has ended");
    for (std::thread& waiter : waiters)
        waiter.join();
    for (const CJobTicket& ticket : tickets)
        EXPECT_TRUE(ticket.Wait(0));
    other.Pump();
    EXPECT_EQ(ran, 0);
}

TEST(UIClosing, LetsJobsOfOtherQueuesGoOnByTheirTerms) {
    CUIJobQueue other;
    bool afterRan = false;
    bool dependentRan = false;
    CJobTicket dependent;
    {
        CUIJobQueue queue;
        const CJobTicket ticket = queue.Queue([] {}, inUIAsync);
        const CJobTicket waiting = queue.Queue([] {}, after(ticket) & Never());
        other.Queue([&] { afterRan = true; }, after({ticket, waiting}));
        dependent = other.Queue([&] { dependentRan = true; }, dependsOn(waiting));
        other.Pump();
        EXPECT_FALSE(afterRan);
    }
    EXPECT_TRUE(dependent.Wait(0));
    other.Pump();
    EXPECT_TRUE(afterRan);
    EXPECT_FALSE(dependentRan);
}

TEST(UIClosing, ForgetsWhatItWaitedFor) {
    CUIJobQueue other;
    const CJobTicket unfinished = other.Queue([] {}, inUIAsync);
    for (int round = 0; round != 100; ++round) {
        CUIJobQueue queue;
        queue.Queue([] {}, after(unfinished));
        queue.Pump();
    }
    const auto value = std::make_shared<int>();
    {
        CUIJobQueue queue;
        queue.Queue([value] {}, after(unfinished));
        queue.Pump();
        EXPECT_EQ(value.use_count(), 2);
    }
    EXPECT_EQ(value.use_count(), 1);
    other.Pump();
    EXPECT_FALSE(IsWaiting(nullptr, kq_test::wakeMessage));
}

TEST(UIClosing, DestroysWhatJobsCapturedWithoutAnyLock) {
    ReturnsInTime("the end of a queue", [] {
        auto queue = std::make_unique<CUIJobQueue>();
        CUIJobQueue& reached = *queue;
        CUIJobQueue other;
        const CJobTicket unfinished = other.Queue([] {}, inUIAsync);
        int gone = 0;
        const auto countDown = [&] {
            return OnDestruction([&] {
                // Its window is gone; the library's locks are not held.
                other.Queue([] {}, inUIAsync);
                ++gone;
            });
        };
        reached.Queue([token = countDown()] {}, Never());
        reached.Queue([token = countDown()] {}, after(unfinished));
        reached.Queue([token = countDown()] {}, isBlocking & condition([token = countDown()] {
                                                    return StartInfo::Postpone;
                                                }));
        reached.Pump();
        reached.Queue([token = countDown()] {}, inUIAsync);
        queue.reset();
        EXPECT_EQ(gone, 5);
    });
}

TEST(UIClosing, ToleratesTicketsThatFinishMeanwhile) {
    for (int round = 0; round != 150; ++round) {
        Counter ready;
        kq_test::Event begin;
        CJobTicket theirs;
        std::thread worker([&] {
            CUIJobQueue other;
            theirs = other.Queue([] {}, inUIAsync);
            ready.Add();
            begin.Wait();
            other.Pump();
        });
        ready.WaitFor(1);
        CJobTicket last;
        {
            CUIJobQueue queue;
            for (int job = 0; job != 10; ++job)
                last = queue.Queue([] {}, after(theirs));
            queue.Pump();
            begin.Set();
            if (round % 2 == 0)
                queue.Pump();
        }
        EXPECT_TRUE(last.Wait(0));
        worker.join();
    }
}

TEST(UIClosing, LeavesNoWindows) {
    const std::vector<HWND> before = kq_test::UIWindows();
    for (int round = 0; round != 100; ++round) {
        CUIJobQueue queue;
        bool hasRun = false;
        queue.Queue([&] { hasRun = true; }, inUIAsync);
        queue.Queue([] {}, Never());
        queue.Pump();
        ASSERT_TRUE(hasRun);
    }
    EXPECT_EQ(kq_test::UIWindows(), before);
}

} // namespace
