// Jobs that the process-wide queue hands to the UI thread.
#include <kq/concurrency/job_queue.h>
#include <kq/win32/message_pump.h>

#include "support/hand_shake.h"
#include "support/ui_messages.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using namespace kq::concurrency;
using kq::win32::IsMainThread;
using kq::win32::PumpMessageQueue;
using kq_test::DispatchUntil;

namespace {

template <class Action>
void Elsewhere(Action action) {
    std::thread(action).join();
}

TEST(UIRouting, InUIRunsAtOnceOnTheUIThread) {
    bool hasRun = false;
    const CJobTicket ticket = jobQueue->Queue([&] { hasRun = IsMainThread(); }, inUI);
    EXPECT_TRUE(hasRun);
    EXPECT_TRUE(ticket.Wait(0));
}

TEST(UIRouting, InUIAsyncNeverRunsAtOnce) {
    for (const auto& terms : {inUIAsync, inUI & isBlocking, isBlocking & inUI}) {
        bool hasRun = false;
        const CJobTicket ticket = jobQueue->Queue([&] { hasRun = IsMainThread(); }, terms);
        EXPECT_FALSE(ticket.Wait(0));
        PumpMessageQueue();
        EXPECT_TRUE(hasRun);
        EXPECT_TRUE(ticket.Wait(0));
    }
}

TEST(UIRouting, JobsOfOtherThreadsRunWhenTheUIThreadPumps) {
    for (const auto& terms : {inUI, inUIAsync}) {
        bool hasRun = false;
        CJobTicket ticket;
        Elsewhere([&] { ticket = jobQueue->Queue([&] { hasRun = IsMainThread(); }, terms); });
        EXPECT_FALSE(ticket.Wait(0));
        PumpMessageQueue();
        EXPECT_TRUE(hasRun);
        EXPECT_TRUE(ticket.Wait(0));
    }
}

TEST(UIRouting, AWorkerWaitsForTheUIThread) {
    std::atomic<bool> sawResult{false};
    const CJobTicket worker = jobQueue->Queue(
        [&] {
            int result = 0;
            jobQueue->Queue([&result] { result = 42; }, inUI).Wait();
            sawResult = result == 42;
        },
        isBlocking);
    DispatchUntil([&] { return worker.Wait(0); });
    EXPECT_TRUE(sawResult);
}

TEST(UIRouting, AFailureOfAUIJobReachesTheWorkerThatWaits) {
    std::atomic<bool> wasThrown{false};
    const CJobTicket worker = jobQueue->Queue([&] {
        const CJobTicket ui = jobQueue->Queue([] { throw std::invalid_argument("ui"); }, inUI);
        try {
            ui.Wait();
        } catch (const std::invalid_argument& error) {
            wasThrown = error.what() == std::string("ui");
        }
    });
    DispatchUntil([&] { return worker.Wait(0); });
    EXPECT_TRUE(wasThrown);
}

TEST(UIRouting, ChainsGoBackAndForth) {
    constexpr int links = 200;
    std::atomic<int> ran{0};
    CJobTicket last;
    for (int link = 0; link != links; ++link) {
        const bool isUI = link % 2 == 0;
        last = jobQueue->Queue(
            [&ran, link, isUI] {
                EXPECT_EQ(ran, link);
                EXPECT_EQ(IsMainThread(), isUI);
                ++ran;
            },
            isUI ? inUIAsync & dependsOn(last) : dependsOn(last));
    }
    DispatchUntil([&] { return last.Wait(0); });
    EXPECT_EQ(ran, links);
}

TEST(UIRouting, AFailureDropsTheChainBehindItOnBothSides) {
    bool hasRun = false;
    const CJobTicket first = jobQueue->Queue([] { throw 1; }, inUIAsync);
    const CJobTicket pool = jobQueue->Queue([&] { hasRun = true; }, dependsOn(first));
    const CJobTicket ui = jobQueue->Queue([&] { hasRun = true; }, inUI & dependsOn(pool));
    DispatchUntil([&] { return ui.Wait(0); });
    EXPECT_TRUE(pool.Wait(0));
    EXPECT_FALSE(hasRun);
}

TEST(UIRouting, RemoveWithdrawsWhatTheUIThreadHasNotSeen) {
    bool hasRun = false;
    const CJobTicket ticket = jobQueue->Queue([&] { hasRun = true; }, inUIAsync);
    bool wasRemoved = false;
    Elsewhere([&] { wasRemoved = jobQueue->Remove(ticket); });
    EXPECT_TRUE(wasRemoved);
    EXPECT_FALSE(jobQueue->Remove(ticket));
    EXPECT_TRUE(ticket.Wait(0));
    PumpMessageQueue();
    EXPECT_FALSE(hasRun);
}

TEST(UIRouting, RemoveLeavesWhatTheUIThreadHasTakenOver) {
    bool hasRun = false;
    const CJobTicket gate = jobQueue->Queue([] {}, inUIAsync);
    kq_test::Event release;
    const CJobTicket pool = jobQueue->Queue([&] { release.Wait(); }, isBlocking & after(gate));
    const CJobTicket ticket = jobQueue->Queue([&] { hasRun = true; }, inUI & after(pool));
    PumpMessageQueue();
    EXPECT_FALSE(jobQueue->Remove(ticket));
    release.Set();
    DispatchUntil([&] { return hasRun; });
}

} // namespace
