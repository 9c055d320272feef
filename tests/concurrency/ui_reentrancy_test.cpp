// UI jobs that use, pump and destroy the queue that runs them.
#include <kq/concurrency/ui_job_queue.h>
#include <kq/win32/message_pump.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/ui_messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using kq_test::OnDestruction;
using kq_test::ReturnsInTime;

namespace {

bool IsFinished(const CJobTicket& ticket) {
    std::optional<std::string> error;
    return ticket.Wait(0, error);
}

TEST(UIReentrancy, AnInlineJobRunsInsideAnother) {
    CUIJobQueue queue;
    std::string order;
    queue.Queue(
        [&] {
            order += '(';
            queue.Queue([&] { order += 'i'; });
            queue.Queue([&] { order += 'a'; }, inUIAsync);
            order += ')';
        },
        inUIAsync);
    queue.Queue([&] { order += 'b'; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "(i)ba");
}

TEST(UIReentrancy, AJobMayDestroyTheQueueThatRunsIt) {
    auto queue = std::make_unique<CUIJobQueue>();
    int ran = 0;
    std::vector<CJobTicket> tickets;
    const CJobTicket first = queue->Queue(
        [&] {
            queue.reset();
            EXPECT_TRUE(IsFinished(tickets[0]));
            EXPECT_TRUE(IsFinished(tickets[1]));
        },
        inUIAsync);
    const auto count = [&ran] { ++ran; };
    tickets.push_back(queue->Queue(count, inUIAsync));
    tickets.push_back(queue->Queue(count, after(first)));
    tickets.push_back(
        queue->Queue(count, inUIAsync & condition([] { return StartInfo::Postpone; })));
    queue->Pump();
    EXPECT_EQ(queue, nullptr);
    EXPECT_EQ(ran, 0);
    EXPECT_TRUE(IsFinished(first));
    for (const CJobTicket& ticket : tickets)
        EXPECT_TRUE(IsFinished(ticket));
}

TEST(UIReentrancy, AnInlineJobMayDestroyTheQueueThatRunsIt) {
    auto queue = std::make_unique<CUIJobQueue>();
    const CJobTicket ticket = queue->Queue([&] {
        queue.reset();
        throw std::runtime_error("after the end");
    });
    std::optional<std::string> error;
    ticket.Wait(error);
    EXPECT_EQ(error, "after the end");
}

TEST(UIReentrancy, AJobMayDestroyTheQueueOnATickOfTheTimer) {
    auto queue = std::make_unique<CUIJobQueue>();
    bool isOpen = false;
    const CJobTicket ticket = queue->Queue(
        [&] { queue.reset(); },
        isBlocking & condition([&] { return isOpen ? StartInfo::Start : StartInfo::Postpone; }));
    queue->Pump();
    isOpen = true;
    DispatchUntil([&queue] { return queue == nullptr; });
    EXPECT_TRUE(IsFinished(ticket));
}

TEST(UIReentrancy, AJobMayDestroyTheQueueFromANestedPump) {
    auto queue = std::make_unique<CUIJobQueue>();
    std::string order;
    queue->Queue(
        [&] {
            order += 'a';
            queue->Queue(
                [&] {
                    order += 'b';
                    queue.reset();
                },
                inUIAsync);
            kq::win32::PumpMessageQueue();
            order += 'A';
        },
        inUIAsync);
    const CJobTicket last = queue->Queue([&] { order += 'c'; }, inUIAsync);
    queue->Pump();
    // The nested pump went on with what was there before.
    EXPECT_EQ(order, "acbA");
    EXPECT_TRUE(IsFinished(last));
}

TEST(UIReentrancy, WhatAJobCapturedMayDestroyTheQueue) {
    std::unique_ptr<CUIJobQueue> queue;
    for (const auto& terms : {inUI, inUIAsync}) {
        queue = std::make_unique<CUIJobQueue>();
        CUIJobQueue& reached = *queue;
        bool hasRun = false;
        CJobTicket second;
        {
            auto token = OnDestruction([&] { queue.reset(); });
            Job job([token = std::move(token)] {});
            std::thread([&] {
                reached.Queue(job, terms);
                job = Job();
                second = reached.Queue([&] { hasRun = true; });
            }).join();
        }
        reached.Pump();
        EXPECT_EQ(queue, nullptr);
        EXPECT_FALSE(hasRun);
        EXPECT_TRUE(IsFinished(second));
    }
}

TEST(UIReentrancy, WhatADroppedJobCapturedMayDestroyTheQueue) {
    auto queue = std::make_unique<CUIJobQueue>();
    CUIJobQueue& reached = *queue;
    bool hasRun = false;
    reached.Queue([token = OnDestruction([&] { queue.reset(); })] {},
                  condition([] { return StartInfo::Drop; }));
    const CJobTicket last = reached.Queue([&] { hasRun = true; }, inUIAsync);
    reached.Pump();
    EXPECT_EQ(queue, nullptr);
    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(IsFinished(last));
}

TEST(UIReentrancy, WhatADroppedJobCapturedMayPumpTheQueue) {
    CUIJobQueue queue;
    std::string order;
    queue.Queue([token = OnDestruction([&] {
                     queue.Queue([&] { order += 'c'; }, inUIAsync);
                     queue.Pump();
                 })] {},
                condition([] { return StartInfo::Drop; }));
    queue.Queue([&] { order += 'a'; }, inUIAsync);
    queue.Queue([&] { order += 'b'; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "abc");
}

TEST(UIReentrancy, AConditionMayDestroyTheQueue) {
    auto queue = std::make_unique<CUIJobQueue>();
    CUIJobQueue& reached = *queue;
    int ran = 0;
    const CJobTicket first = reached.Queue([&] { ++ran; }, inUIAsync);
    const CJobTicket second = reached.Queue([&] { ++ran; }, isBlocking & condition([&] {
                                                                queue.reset();
                                                                return StartInfo::Start;
                                                            }));
    reached.Pump();
    EXPECT_EQ(queue, nullptr);
    EXPECT_EQ(ran, 0);
    EXPECT_TRUE(IsFinished(first));
    EXPECT_TRUE(IsFinished(second));
}

TEST(UIReentrancy, NothingRunsTwiceUnderNestedPumps) {
    CUIJobQueue queue;
    constexpr std::size_t jobs = 50;
    std::vector<int> runs(2 * jobs);
    bool isOpen = false;
    const auto whenOpen =
        condition([&] { return isOpen ? StartInfo::Start : StartInfo::Postpone; });
    std::vector<CJobTicket> tickets;
    for (std::size_t job = 0; job != jobs; ++job)
        tickets.push_back(queue.Queue(
            [&, job] {
                ++runs[job];
                isOpen = job > jobs / 2;
                tickets.push_back(queue.Queue([&, job] { ++runs[jobs + job]; },
                                              job % 4 == 0 ? inUIAsync & whenOpen : inUIAsync));
                queue.Pump();
                kq::win32::PumpMessageQueue();
            },
            job % 3 == 0 ? inUIAsync & whenOpen : inUIAsync));
    queue.Pump();
    isOpen = true;
    queue.Queue([] {}, inUIAsync);
    queue.Pump();
    EXPECT_EQ(runs, std::vector<int>(2 * jobs, 1));
    for (const CJobTicket& ticket : tickets)
        EXPECT_TRUE(IsFinished(ticket));
}

TEST(UIReentrancy, ANestedPumpGoesOnInOrder) {
    CUIJobQueue queue;
    std::string order;
    queue.Queue(
        [&] {
            order += "(";
            queue.Queue([&] { order += "d"; }, inUIAsync);
            queue.Pump();
            order += ")";
        },
        inUIAsync);
    queue.Queue([&] { order += "a"; }, inUIAsync);
    queue.Queue([&] { order += "b"; }, inUIAsync);
    queue.Queue([&] { order += "c"; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "(abcd)");
}

TEST(UIReentrancy, PumpsNestDeeply) {
    CUIJobQueue queue;
    constexpr int depth = 200;
    int level = 0;
    int deepest = 0;
    std::function<void()> nest = [&] {
        ++level;
        if (level < depth) {
            queue.Queue(nest, inUIAsync);
            queue.Pump();
        }
        deepest = std::max(deepest, level--);
    };
    queue.Queue(nest, inUIAsync);
    queue.Pump();
    EXPECT_EQ(deepest, depth);
    EXPECT_EQ(level, 0);
}

TEST(UIReentrancy, AJobThatThrowsAfterANestedPumpHarmsNobody) {
    CUIJobQueue queue;
    int ran = 0;
    const CJobTicket failing = queue.Queue(
        [&] {
            queue.Queue([&] { ++ran; }, inUIAsync);
            queue.Pump();
            throw std::runtime_error("late");
        },
        inUIAsync);
    queue.Queue([&] { ++ran; }, inUIAsync);
    const CJobTicket dependent = queue.Queue([&] { ++ran; }, dependsOn(failing));
    queue.Pump();
    EXPECT_EQ(ran, 2);
    EXPECT_TRUE(IsFinished(dependent));
}

// Under a lock of the queue each of these would hang.
TEST(UIReentrancy, WhatJobsAndConditionsCapturedIsDestroyedWithoutAnyLock) {
    ReturnsInTime("a pump", [] {
        CUIJobQueue queue;
        int gone = 0;
        const auto useQueue = [&] {
            return OnDestruction([&] {
                queue.Remove(queue.Queue([] {}, inUIAsync));
                ++gone;
            });
        };
        const auto answering = [&](StartInfo answer) {
            return isBlocking & condition([token = useQueue(), answer] { return answer; });
        };
        const CJobTicket failed = queue.Queue([] { throw 1; });
        queue.Queue([token = useQueue()] {}, inUIAsync);
        queue.Queue([token = useQueue()] {});
        queue.Queue([token = useQueue()] {}, answering(StartInfo::Start));
        queue.Queue([token = useQueue()] {}, answering(StartInfo::Drop));
        queue.Queue([token = useQueue()] {}, dependsOn(failed));
        queue.Queue([token = useQueue()] { throw 2; }, inUIAsync);
        queue.Pump();
        EXPECT_EQ(gone, 8);
    });
}

TEST(UIReentrancy, WhatJobsCapturedIsGoneBeforeTheWaiterIsWoken) {
    CUIJobQueue queue;
    std::shared_ptr<int> value = std::make_shared<int>();
    const std::weak_ptr<int> watched = value;
    const CJobTicket ticket = queue.Queue([value = std::move(value)] {}, inUIAsync);
    bool wasGone = false;
    std::thread waiter([&] {
        ticket.Wait();
        wasGone = watched.expired();
    });
    queue.Pump();
    waiter.join();
    EXPECT_TRUE(wasGone);
}

} // namespace
