// Where and when the jobs of a UI queue run.
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Event;

namespace {

// Runs `action` on another thread, to its end.
template <class Action>
void Elsewhere(Action action) {
    std::thread(action).join();
}

bool IsFinished(const CJobTicket& ticket) {
    std::optional<std::string> error;
    return ticket.Wait(0, error);
}

std::shared_ptr<CJobTermsImpl> Answering(StartInfo answer) {
    return condition([answer] { return answer; });
}

TEST(UIJobQueue, AJobFromTheUIThreadHasRunWhenQueueReturns) {
    CUIJobQueue queue;
    for (const auto& terms : {std::shared_ptr<CJobTermsImpl>(), inUI, Answering(StartInfo::Start),
                              after(CJobTicket()), inUI & dependsOn(std::vector<CJobTicket>())}) {
        std::thread::id thread;
        const CJobTicket ticket =
            queue.Queue([&thread] { thread = std::this_thread::get_id(); }, terms);
        EXPECT_EQ(thread, std::this_thread::get_id());
        EXPECT_TRUE(IsFinished(ticket));
    }
}

TEST(UIJobQueue, AJobFromAnotherThreadRunsOnTheUIThreadWhenThatPumps) {
    CUIJobQueue queue;
    for (const auto& terms : {std::shared_ptr<CJobTermsImpl>(), inUI, inUIAsync}) {
        std::thread::id thread;
        CJobTicket ticket;
        Elsewhere([&] {
            ticket = queue.Queue([&thread] { thread = std::this_thread::get_id(); }, terms);
        });
        EXPECT_FALSE(IsFinished(ticket));
        EXPECT_EQ(thread, std::thread::id());
        queue.Pump();
        EXPECT_TRUE(IsFinished(ticket));
        EXPECT_EQ(thread, std::this_thread::get_id());
    }
}

TEST(UIJobQueue, AnAsynchronousJobFromTheUIThreadWaitsForThePump) {
    CUIJobQueue queue;
    for (const auto& terms :
         {inUIAsync, isBlocking, inUI & isBlocking, isBlocking & Answering(StartInfo::Start)}) {
        bool hasRun = false;
        const CJobTicket ticket = queue.Queue([&hasRun] { hasRun = true; }, terms);
        EXPECT_FALSE(hasRun);
        EXPECT_FALSE(IsFinished(ticket));
        queue.Pump();
        EXPECT_TRUE(hasRun);
        EXPECT_TRUE(IsFinished(ticket));
    }
}

TEST(UIJobQueue, AJobThatMayNotStartYetIsNotRunByQueue) {
    CUIJobQueue queue;
    StartInfo answer = StartInfo::Postpone;
    bool hasRun = false;
    queue.Queue([&hasRun] { hasRun = true; }, inUI & condition([&answer] { return answer; }));
    queue.Pump();
    EXPECT_FALSE(hasRun);
    answer = StartInfo::Start;
    queue.Queue([] {}, inUIAsync);
    queue.Pump();
    EXPECT_TRUE(hasRun);
}

TEST(UIJobQueue, OnePumpRunsAllInTheOrderOfSubmission) {
    CUIJobQueue queue;
    std::vector<int> order;
    std::vector<int> expected;
    Elsewhere([&] {
        for (int job = 0; job != 1'000; ++job) {
            queue.Queue([&order, job] { order.push_back(job); }, job % 2 != 0 ? inUI : nullptr);
            expected.push_back(job);
        }
    });
    EXPECT_TRUE(order.empty());
    queue.Pump();
    EXPECT_EQ(order, expected);
}

TEST(UIJobQueue, WaitingJobsKeepTheirPlaceAndHoldNobodyUp) {
    CUIJobQueue queue;
    std::string order;
    bool isOpen = false;
    const auto whenOpen =
        condition([&isOpen] { return isOpen ? StartInfo::Start : StartInfo::Postpone; });
    const auto add = [&](char name, const std::shared_ptr<CJobTermsImpl>& terms) {
        return queue.Queue([&order, name] { order += name; }, terms & isBlocking);
    };
    const CJobTicket gate = queue.Queue([&] { order += 'g'; }, isBlocking & whenOpen);
    add('a', whenOpen);
    add('b', after(gate));
    add('c', nullptr);
    add('d', whenOpen);
    queue.Pump();
    EXPECT_EQ(order, "c");
    isOpen = true;
    add('e', nullptr);
    queue.Pump();
    EXPECT_EQ(order, "cgabde");
}

TEST(UIJobQueue, AJobThatLetsAnEarlierOneStartDoesSoInTheSamePass) {
    CUIJobQueue queue;
    std::string order;
    bool isOpen = false;
    queue.Queue([&] { order += 'a'; }, isBlocking & condition([&] {
                                           return isOpen ? StartInfo::Start : StartInfo::Postpone;
                                       }));
    queue.Queue(
        [&] {
            order += 'b';
            isOpen = true;
        },
        inUIAsync);
    queue.Queue([&] { order += 'c'; }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(order, "bac");
}

TEST(UIJobQueue, AJobThatCanNeverRunEndsAsRemoved) {
    CUIJobQueue queue;
    bool hasRun = false;
    const CJobTicket failed = queue.Queue([] { throw std::runtime_error("no"); });
    std::vector<CJobTicket> tickets = {
        queue.Queue([&] { hasRun = true; }, Answering(StartInfo::Drop)),
        queue.Queue([&] { hasRun = true; }, dependsOn(failed)),
        queue.Queue([&] { hasRun = true; }, dependsOn(failed) & Answering(StartInfo::Postpone))};
    tickets.push_back(queue.Queue([&] { hasRun = true; }, dependsOn(tickets.front())));
    Event woken;
    std::thread waiter([&] {
        tickets.back().Wait();
        woken.Set();
    });
    queue.Pump();
    woken.Wait("the waiter of a dropped job");
    waiter.join();
    for (const CJobTicket& ticket : tickets) {
        std::optional<std::string> error = "before";
        EXPECT_TRUE(ticket.Wait(0));
        ticket.Wait(error);
        EXPECT_EQ(error, std::nullopt);
    }
    EXPECT_FALSE(hasRun);
}

TEST(UIJobQueue, AFailureStaysInItsTicket) {
    CUIJobQueue queue;
    bool hasRun = false;
    const CJobTicket inlineFailure = queue.Queue([] { throw std::runtime_error("inline"); });
    const CJobTicket failure = queue.Queue([] { throw std::runtime_error("posted"); }, inUIAsync);
    const CJobTicket number = queue.Queue([] { throw 1; }, inUIAsync);
    const CJobTicket empty = queue.Queue(Job(std::function<void()>()), inUIAsync);
    queue.Queue([&hasRun] { hasRun = true; }, inUIAsync);
    queue.Pump();
    EXPECT_TRUE(hasRun);
    const auto text = [](const CJobTicket& ticket) {
        std::optional<std::string> error;
        EXPECT_TRUE(ticket.Wait(0, error));
        return error;
    };
    EXPECT_EQ(text(inlineFailure), "inline");
    EXPECT_EQ(text(failure), "posted");
    EXPECT_EQ(text(number), "unknown exception");
    EXPECT_EQ(text(empty), std::bad_function_call().what());
    EXPECT_THROW(failure.Wait(), std::runtime_error);
}

TEST(UIJobQueue, AJobFindsItsOwnTicket) {
    CUIJobQueue queue;
    CJobTicket seen;
    EXPECT_EQ(queue.Queue([&seen] { seen = thisJob(); }), seen);
    const CJobTicket posted = queue.Queue([&seen] { seen = thisJob(); }, inUIAsync);
    queue.Pump();
    EXPECT_EQ(posted, seen);
    EXPECT_THROW(thisJob(), std::runtime_error);
}

TEST(UIJobQueue, ARunningJobIsNotFinished) {
    CUIJobQueue queue;
    bool wasFinished = true;
    queue.Queue([&] { wasFinished = IsFinished(thisJob()); });
    EXPECT_FALSE(wasFinished);
    queue.Queue([&] { wasFinished = wasFinished || IsFinished(thisJob()); }, inUIAsync);
    queue.Pump();
    EXPECT_FALSE(wasFinished);
}

TEST(UIJobQueue, PumpReturnsWhenNothingIsWaiting) {
    CUIJobQueue queue;
    queue.Pump();
    const CJobTicket unfinished = queue.Queue([] {}, inUIAsync & Answering(StartInfo::Postpone));
    for (int round = 0; round != 100; ++round)
        queue.Pump();
    EXPECT_FALSE(IsFinished(unfinished));
}

TEST(UIJobQueue, QueuesOnOneThreadAreIndependent) {
    CUIJobQueue first;
    std::string order;
    {
        CUIJobQueue second;
        first.Queue([&] { order += '1'; }, inUIAsync);
        second.Queue([&] { order += '2'; }, inUIAsync);
        second.Pump();
        EXPECT_EQ(order, "2");
        second.Queue([&] { order += '3'; }, inUIAsync);
    }
    first.Pump();
    EXPECT_EQ(order, "21");
}

TEST(UIJobQueue, EveryQueueRunsItsJobsOnItsOwnThread) {
    CUIJobQueue here;
    std::thread::id hereRan;
    std::thread::id thereRan;
    std::thread::id there;
    Elsewhere([&] {
        there = std::this_thread::get_id();
        CUIJobQueue theirs;
        theirs.Queue([&] { thereRan = std::this_thread::get_id(); });
        here.Queue([&] { hereRan = std::this_thread::get_id(); });
        theirs.Pump();
    });
    EXPECT_EQ(thereRan, there);
    EXPECT_EQ(hereRan, std::thread::id());
    here.Pump();
    EXPECT_EQ(hereRan, std::this_thread::get_id());
}

} // namespace
