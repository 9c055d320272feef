// The timer by which a UI queue asks opaque conditions again.
#include <kq/concurrency/ui_job_queue.h>

#include "support/ui_messages.h"
#include "support/ui_windows.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using kq_test::IsWaiting;
using kq_test::MessageCounter;
using kq_test::NewUIWindow;
using kq_test::retryTimer;
using kq_test::wakeMessage;

namespace {

class UIRetryTimer : public testing::Test {
protected:
    void SetUp() override {
        window = NewUIWindow([this] { queue.emplace(); });
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(counter.IsThere());
    }

    std::shared_ptr<CJobTermsImpl> WhenOpen() {
        return isBlocking &
               condition([this] { return isOpen ? StartInfo::Start : StartInfo::Postpone; });
    }

    // A timer that does not run can be killed by nobody. Where one ran, it does not any more.
    bool KillsRunningTimer() const { return KillTimer(window, retryTimer) != FALSE; }

    std::optional<CUIJobQueue> queue;
    HWND window = nullptr;
    std::atomic<bool> isOpen{false};
    MessageCounter counter;
};

TEST_F(UIRetryTimer, TicksWhileAConditionWaitsAndStopsWhenItsJobHasRun) {
    bool hasRun = false;
    const CJobTicket ticket = queue->Queue([&hasRun] { hasRun = true; }, WhenOpen());
    DispatchUntil([this] { return counter.Ticks() >= 3; });
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(counter.Wakes(), 1u);
    isOpen = true;
    DispatchUntil([&hasRun] { return hasRun; });
    EXPECT_EQ(counter.Wakes(), 1u);
    EXPECT_TRUE(ticket.Wait(0));
    EXPECT_FALSE(KillsRunningTimer());
    EXPECT_FALSE(IsWaiting(window, WM_TIMER));
}

TEST_F(UIRetryTimer, IsTheTimerWithTheNumberOne) {
    queue->Queue([] {}, WhenOpen());
    EXPECT_FALSE(KillsRunningTimer());
    queue->Pump();
    EXPECT_TRUE(KillsRunningTimer());
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, RunsAtIntervalsOfTwentyMilliseconds) {
    queue->Queue([] {}, WhenOpen());
    queue->Pump();
    counter.Reset();
    const ULONGLONG begin = GetTickCount64();
    DispatchUntil([this] { return counter.Ticks() == 20; });
    // Later than that at will, but not earlier, give or take one of the system's clock ticks each.
    EXPECT_GE(GetTickCount64() - begin, 20u * 10);
}

TEST_F(UIRetryTimer, StopsWhenTheLastConditionSaysNever) {
    std::atomic<StartInfo> answer{StartInfo::Postpone};
    const CJobTicket ticket = queue->Queue([] {}, condition([&answer] { return answer.load(); }));
    DispatchUntil([this] { return counter.Ticks() != 0; });
    answer = StartInfo::Drop;
    DispatchUntil([&ticket] { return ticket.Wait(0); });
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, DoesNotRunForJobsThatStartAtOnce) {
    isOpen = true;
    queue->Queue([] {}, inUIAsync);
    queue->Queue([] {}, WhenOpen());
    queue->Queue([] {}, inUIAsync);
    queue->Pump();
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, DoesNotRunForJobsThatWaitForTicketsOnly) {
    CUIJobQueue other;
    const CJobTicket first = other.Queue([] {}, inUIAsync);
    queue->Queue([] {}, after(first));
    queue->Queue([] {}, dependsOn(first) & after(first));
    queue->Pump();
    EXPECT_FALSE(KillsRunningTimer());
    other.Pump();
    EXPECT_TRUE(IsWaiting(window, wakeMessage));
    queue->Pump();
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, RunsForATicketTogetherWithACondition) {
    CUIJobQueue other;
    bool hasRun = false;
    const CJobTicket first = other.Queue([] {}, inUIAsync);
    queue->Queue([&hasRun] { hasRun = true; }, after(first) & WhenOpen());
    queue->Pump();
    other.Pump();
    isOpen = true;
    DispatchUntil([&hasRun] { return hasRun; });
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, StaysWhileAnyConditionWaits) {
    std::atomic<bool> isSecondOpen{false};
    queue->Queue([] {}, WhenOpen());
    const CJobTicket second =
        queue->Queue([] {}, isBlocking & condition([&isSecondOpen] {
                                return isSecondOpen ? StartInfo::Start : StartInfo::Postpone;
                            }));
    queue->Pump();
    isSecondOpen = true;
    DispatchUntil([&second] { return second.Wait(0); });
    EXPECT_TRUE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, IsNotStartedWhileAWakeMessageIsOnItsWay) {
    bool hasBeenAsked = false;
    queue->Queue([] {}, isBlocking & condition([&] {
                            // As if another thread queued a job at this very moment.
                            if (!hasBeenAsked)
                                queue->Queue([] {}, inUIAsync);
                            hasBeenAsked = true;
                            return StartInfo::Postpone;
                        }));
    MSG message{};
    ASSERT_NE(PeekMessageW(&message, window, wakeMessage, wakeMessage, PM_REMOVE), FALSE);
    DispatchMessageW(&message);
    ASSERT_TRUE(IsWaiting(window, wakeMessage));
    EXPECT_FALSE(KillsRunningTimer());
    queue->Pump();
    EXPECT_TRUE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, RunsInsideAJobWhileOthersStandBehindIt) {
    bool ranAlone = true;
    bool ranWithOthers = false;
    queue->Queue([&] { ranWithOthers = KillsRunningTimer(); }, inUIAsync);
    queue->Queue([&] { ranAlone = KillsRunningTimer(); }, inUIAsync);
    queue->Pump();
    EXPECT_TRUE(ranWithOthers);
    EXPECT_FALSE(ranAlone);
    EXPECT_FALSE(KillsRunningTimer());
}

TEST_F(UIRetryTimer, RunsWhatWasQueuedBehindAWakeThatWentLost) {
    queue->Queue([] {}, WhenOpen());
    queue->Pump();
    bool hasRun = false;
    queue->Queue([&hasRun] { hasRun = true; }, inUIAsync);
    // A host that throws messages away loses jobs only for a moment.
    MSG message{};
    ASSERT_NE(PeekMessageW(&message, window, wakeMessage, wakeMessage, PM_REMOVE), FALSE);
    DispatchUntil([&hasRun] { return hasRun; });
}

TEST_F(UIRetryTimer, GoesWithItsQueue) {
    const CJobTicket ticket = queue->Queue([] {}, WhenOpen());
    queue->Pump();
    queue.reset();
    EXPECT_EQ(IsWindow(window), FALSE);
    EXPECT_FALSE(KillsRunningTimer());
    EXPECT_TRUE(ticket.Wait(0));
}

} // namespace
