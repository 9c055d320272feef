// The message by which a UI queue gets the attention of its thread.
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"
#include "support/ui_messages.h"
#include "support/ui_windows.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using kq_test::Event;
using kq_test::IsWaiting;
using kq_test::MessageCounter;
using kq_test::NewUIWindow;
using kq_test::wakeMessage;

namespace {

class UIWakeMessage : public testing::Test {
protected:
    void SetUp() override {
        window = NewUIWindow([this] { queue.emplace(); });
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(counter.IsThere());
    }

    std::optional<CUIJobQueue> queue;
    HWND window = nullptr;
    MessageCounter counter;
};

TEST_F(UIWakeMessage, HasTheNumberAndParametersThatHostsMayFilterBy) {
    queue->Queue([] {}, inUIAsync);
    MSG message{};
    ASSERT_NE(PeekMessageW(&message, window, 0, 0, PM_NOREMOVE), FALSE);
    EXPECT_EQ(message.message, static_cast<UINT>(WM_USER + 142));
    EXPECT_EQ(message.message, 0x48Eu);
    EXPECT_EQ(message.wParam, 0u);
    EXPECT_EQ(message.lParam, 0);
    queue->Pump();
}

TEST_F(UIWakeMessage, IsOneForAnyNumberOfJobs) {
    int ran = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread != 4; ++thread)
        threads.emplace_back([this, &ran] {
            for (int job = 0; job != 1'000; ++job)
                queue->Queue([&ran] { ++ran; });
        });
    for (std::thread& thread : threads)
        thread.join();
    MSG message{};
    ASSERT_NE(PeekMessageW(&message, window, wakeMessage, wakeMessage, PM_REMOVE), FALSE);
    EXPECT_FALSE(IsWaiting(window, wakeMessage));
    EXPECT_EQ(ran, 0);
    DispatchMessageW(&message);
    EXPECT_EQ(ran, 4'000);
    EXPECT_FALSE(IsWaiting(window, wakeMessage));
    queue->Pump();
    EXPECT_EQ(counter.Wakes(), 1u);
}

TEST_F(UIWakeMessage, ComesAfreshForEveryJobAfterAPump) {
    for (std::size_t round = 1; round != 100; ++round) {
        queue->Queue([] {}, inUIAsync);
        queue->Pump();
        EXPECT_EQ(counter.Wakes(), round);
    }
}

TEST_F(UIWakeMessage, IsNotSentForJobsThatRunInline) {
    queue->Queue([] {});
    queue->Queue([] {}, inUI);
    EXPECT_FALSE(IsWaiting(window, wakeMessage));
    queue->Queue([this] { queue->Queue([] {}); }, inUIAsync);
    queue->Pump();
    EXPECT_EQ(counter.Wakes(), 1u);
}

TEST_F(UIWakeMessage, ComesForAJobThatARunningJobQueues) {
    int ran = 0;
    queue->Queue(
        [this, &ran] {
            queue->Queue([&ran] { ++ran; }, inUIAsync);
            queue->Queue([&ran] { ++ran; }, inUIAsync);
            EXPECT_TRUE(IsWaiting(window, wakeMessage));
        },
        inUIAsync);
    MSG message{};
    ASSERT_NE(PeekMessageW(&message, window, 0, 0, PM_REMOVE), FALSE);
    DispatchMessageW(&message);
    EXPECT_EQ(ran, 0);
    queue->Pump();
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(counter.Wakes(), 2u);
}

TEST_F(UIWakeMessage, StaysWhenItsJobIsWithdrawnAndIsNotRepeated) {
    EXPECT_TRUE(queue->Remove(queue->Queue([] {}, inUIAsync)));
    queue->Queue([] {}, inUIAsync);
    queue->Pump();
    EXPECT_EQ(counter.Wakes(), 1u);
}

TEST_F(UIWakeMessage, StartsAJobWhoseTicketsHaveFinished) {
    CUIJobQueue other;
    bool hasRun = false;
    const CJobTicket first = other.Queue([] {}, inUIAsync);
    const CJobTicket second = other.Queue([] {}, inUIAsync);
    queue->Queue([&hasRun] { hasRun = true; }, after({first, second}) & dependsOn(first));
    queue->Pump();
    EXPECT_TRUE(other.Remove(second));
    EXPECT_FALSE(IsWaiting(window, wakeMessage));
    other.Pump();
    EXPECT_TRUE(IsWaiting(window, wakeMessage));
    EXPECT_FALSE(hasRun);
    queue->Pump();
    EXPECT_TRUE(hasRun);
    EXPECT_EQ(counter.Ticks(), 0u);
}

TEST_F(UIWakeMessage, StartsAJobWhoseTicketFinishesOnAnotherThread) {
    for (int round = 0; round != 200; ++round) {
        Event ready;
        Event begin;
        CJobTicket theirs;
        std::thread worker([&] {
            CUIJobQueue other;
            theirs = other.Queue([] {}, inUIAsync);
            ready.Set();
            begin.Wait();
            other.Pump();
        });
        ready.Wait();
        bool hasRun = false;
        queue->Queue([&hasRun] { hasRun = true; }, after(theirs));
        if (round % 2 == 0)
            queue->Pump();
        begin.Set();
        DispatchUntil([&hasRun] { return hasRun; });
        worker.join();
    }
    EXPECT_EQ(counter.Ticks(), 0u);
}

TEST_F(UIWakeMessage, IsNotSentForJobsThatAreDropped) {
    CUIJobQueue other;
    const CJobTicket first = other.Queue([] {}, inUIAsync);
    const CJobTicket dependent = queue->Queue([] {}, dependsOn(first));
    queue->Pump();
    EXPECT_TRUE(other.Remove(first));
    EXPECT_TRUE(dependent.Wait(0));
    EXPECT_FALSE(IsWaiting(window, wakeMessage));
}

TEST_F(UIWakeMessage, ThatCannotBePostedIsNotReported) {
    DestroyWindow(window);
    std::vector<CJobTicket> tickets;
    for (int job = 0; job != 3; ++job)
        EXPECT_NO_THROW(tickets.push_back(queue->Queue([] {}, inUIAsync)));
    EXPECT_FALSE(IsWaiting(nullptr, wakeMessage));
    bool hasRun = false;
    queue->Queue([&hasRun] { hasRun = true; });
    EXPECT_TRUE(hasRun);
    queue->Pump();
    EXPECT_TRUE(queue->Remove(tickets.front()));
    queue.reset();
    for (const CJobTicket& ticket : tickets)
        EXPECT_TRUE(ticket.Wait(0));
}

} // namespace
