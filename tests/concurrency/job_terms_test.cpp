// What terms are made of, and what their conditions answer when they are asked.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/job_terms.h>
#include <kq/concurrency/thread_pool.h>

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace kq::concurrency;
using Terms = std::shared_ptr<CJobTermsImpl>;
using kq_test::Event;

namespace {

// One job in each status.
class JobTerms : public testing::Test {
protected:
    JobTerms() {
        std::optional<std::string> ignored;
        done.Wait();
        failed.Wait(ignored);
        started.Wait();
        queue.Remove(removed);
    }
    ~JobTerms() override {
        release.Set();
        never.Set();
    }

    Event started, release, never;
    CThreadPool pool;
    CJobQueue queue{std::make_shared<CThreadPool>(1), 1};
    const CJobTicket done = pool.Start([] {});
    const CJobTicket failed = pool.Start([] { throw std::runtime_error("x"); });
    const CJobTicket running = pool.Start([this] {
        started.Set();
        release.Wait();
    });
    const CJobTicket pending = queue.Queue([] {}, after(running));
    const CJobTicket removed = queue.Queue([] {}, after(running));
    const CJobTicket empty;
};

StartInfo Ask(const Terms& terms) { return terms->condition(); }

Terms Answering(StartInfo answer) {
    return condition([answer] { return answer; });
}

void ExpectConstant(const Terms& terms, bool uiThread, bool blocking) {
    ASSERT_NE(terms, nullptr);
    EXPECT_EQ(terms->uiThread, uiThread);
    EXPECT_EQ(terms->blocking, blocking);
    EXPECT_FALSE(terms->condition);
}

TEST(StartInfo, TheNumbersAreFixed) {
    static_assert(std::is_same_v<std::underlying_type_t<StartInfo>, std::uint32_t>);
    static_assert(static_cast<std::uint32_t>(StartInfo::Start) == 0);
    static_assert(static_cast<std::uint32_t>(StartInfo::Postpone) == 1);
    static_assert(static_cast<std::uint32_t>(StartInfo::Drop) == 2);
    SUCCEED();
}

TEST_F(JobTerms, TheConstantsAreFlagsWithoutCondition) {
    ExpectConstant(inUI, true, false);
    ExpectConstant(inUIAsync, true, true);
    ExpectConstant(isBlocking, false, true);
}

TEST_F(JobTerms, CopiesOfTheConstantsFreeNothing) {
    for (int i = 0; i != 3; ++i) {
        Terms copy = inUI;
        copy.reset();
    }
    ExpectConstant(inUI, true, false);
}

TEST_F(JobTerms, MadeTermsHaveNoFlags) {
    for (const Terms& terms : {after(done), dependsOn(done), Answering(StartInfo::Start)}) {
        EXPECT_FALSE(terms->uiThread);
        EXPECT_FALSE(terms->blocking);
        EXPECT_TRUE(terms->condition);
    }
    EXPECT_NE(after(done), after(done));
}

TEST_F(JobTerms, AfterWaitsForTheEndWhateverTheOutcome) {
    EXPECT_EQ(Ask(after(pending)), StartInfo::Postpone);
    EXPECT_EQ(Ask(after(running)), StartInfo::Postpone);
    EXPECT_EQ(Ask(after(done)), StartInfo::Start);
    EXPECT_EQ(Ask(after(failed)), StartInfo::Start);
    EXPECT_EQ(Ask(after(removed)), StartInfo::Start);
}

TEST_F(JobTerms, AfterNothingStarts) {
    EXPECT_EQ(Ask(after(empty)), StartInfo::Start);
    EXPECT_EQ(Ask(after(std::vector<CJobTicket>{})), StartInfo::Start);
    EXPECT_EQ(Ask(after({empty, empty})), StartInfo::Start);
}

TEST_F(JobTerms, AfterWaitsForAllOfAList) {
    EXPECT_EQ(Ask(after({done, failed, empty, removed})), StartInfo::Start);
    EXPECT_EQ(Ask(after({done, running})), StartInfo::Postpone);
    EXPECT_EQ(Ask(after({running, done})), StartInfo::Postpone);
    EXPECT_EQ(Ask(after({empty, pending, failed})), StartInfo::Postpone);
}

TEST_F(JobTerms, DependsOnWaitsForSuccess) {
    EXPECT_EQ(Ask(dependsOn(pending)), StartInfo::Postpone);
    EXPECT_EQ(Ask(dependsOn(running)), StartInfo::Postpone);
    EXPECT_EQ(Ask(dependsOn(done)), StartInfo::Start);
    EXPECT_EQ(Ask(dependsOn(failed)), StartInfo::Drop);
    EXPECT_EQ(Ask(dependsOn(removed)), StartInfo::Drop);
}

TEST_F(JobTerms, DependingOnNothingStarts) {
    EXPECT_EQ(Ask(dependsOn(empty)), StartInfo::Start);
    EXPECT_EQ(Ask(dependsOn(std::vector<CJobTicket>{})), StartInfo::Start);
}

TEST_F(JobTerms, TheFirstOfAListThatIsNotDoneDecides) {
    EXPECT_EQ(Ask(dependsOn({done, empty, done})), StartInfo::Start);
    EXPECT_EQ(Ask(dependsOn({running, failed})), StartInfo::Postpone);
    EXPECT_EQ(Ask(dependsOn({failed, running})), StartInfo::Drop);
    EXPECT_EQ(Ask(dependsOn({done, removed, running})), StartInfo::Drop);
    const Terms both = dependsOn({running, failed});
    release.Set();
    running.Wait();
    EXPECT_EQ(Ask(both), StartInfo::Drop);
}

TEST_F(JobTerms, AnAnswerFollowsTheJob) {
    const Terms waiting = after(running);
    EXPECT_EQ(Ask(waiting), StartInfo::Postpone);
    release.Set();
    running.Wait();
    EXPECT_EQ(Ask(waiting), StartInfo::Start);
}

TEST_F(JobTerms, TheTicketsAreCopied) {
    std::vector<CJobTicket> tickets{running};
    const Terms waiting = after(tickets);
    tickets[0] = done;
    EXPECT_EQ(Ask(waiting), StartInfo::Postpone);
}

TEST_F(JobTerms, AConditionIsACopyOfTheFunction) {
    int asked = 0;
    std::function<StartInfo()> function = [&] {
        ++asked;
        return StartInfo::Postpone;
    };
    const Terms terms = condition(function);
    function = nullptr;
    EXPECT_EQ(Ask(terms), StartInfo::Postpone);
    EXPECT_EQ(asked, 1);
}

TEST_F(JobTerms, AnEmptyConditionIsNone) { EXPECT_FALSE(condition({})->condition); }

TEST(JobTermsConjunction, OfNullsIsTheOtherOne) {
    const Terms none;
    EXPECT_EQ(none & none, nullptr);
    EXPECT_EQ(none & inUI, inUI);
    EXPECT_EQ(inUI & none, inUI);
    const Terms own = condition([] { return StartInfo::Start; });
    EXPECT_EQ(own & none, own);
    EXPECT_EQ(none & own, own);
}

TEST(JobTermsConjunction, HasTheFlagsOfEither) {
    ExpectConstant(inUI & isBlocking, true, true);
    ExpectConstant(isBlocking & isBlocking, false, true);
    ExpectConstant(inUI & inUI, true, false);
    EXPECT_NE(inUI & inUI, inUI);
    ExpectConstant(inUI, true, false);
    ExpectConstant(isBlocking, false, true);
}

TEST(JobTermsConjunction, KeepsTheOnlyCondition) {
    const Terms waiting = Answering(StartInfo::Postpone);
    const Terms right = inUI & waiting;
    const Terms left = waiting & isBlocking;
    EXPECT_TRUE(right->uiThread && !right->blocking);
    EXPECT_TRUE(left->blocking && !left->uiThread);
    EXPECT_EQ(Ask(right), StartInfo::Postpone);
    EXPECT_EQ(Ask(left), StartInfo::Postpone);
    EXPECT_FALSE(waiting->uiThread || waiting->blocking);
}

TEST(JobTermsConjunction, DropsBeforeItPostponesBeforeItStarts) {
    const StartInfo answers[] = {StartInfo::Start, StartInfo::Postpone, StartInfo::Drop};
    for (const StartInfo left : answers)
        for (const StartInfo right : answers)
            EXPECT_EQ(Ask(Answering(left) & Answering(right)), std::max(left, right));
}

TEST(JobTermsConjunction, AlwaysAsksBothFromTheLeft) {
    std::string order;
    const auto noting = [&](char name, StartInfo answer) {
        return condition([&order, name, answer] {
            order += name;
            return answer;
        });
    };
    EXPECT_EQ(Ask(noting('a', StartInfo::Drop) & noting('b', StartInfo::Start)), StartInfo::Drop);
    EXPECT_EQ(Ask(noting('c', StartInfo::Postpone) & noting('d', StartInfo::Drop)),
              StartInfo::Drop);
    EXPECT_EQ(order, "abcd");
}

TEST(JobTermsConjunction, HoldsItsParts) {
    std::weak_ptr<CJobTermsImpl> left, right;
    Terms both;
    {
        const Terms first = Answering(StartInfo::Start);
        const Terms second = Answering(StartInfo::Drop);
        left = first;
        right = second;
        both = first & second;
    }
    EXPECT_FALSE(left.expired() || right.expired());
    EXPECT_EQ(Ask(both), StartInfo::Drop);
    both.reset();
    EXPECT_TRUE(left.expired() && right.expired());
}

// Folded from either end, and both ends together.
TEST(JobTermsConjunction, ManyTermsCanBeFoldedTogether) {
    constexpr int many = 100'000;
    std::atomic<int> asked{0};
    const Terms single = condition([&] {
        ++asked;
        return StartInfo::Start;
    });
    Terms fromLeft, fromRight;
    for (int i = 0; i != many; ++i) {
        fromLeft = fromLeft & single;
        fromRight = single & fromRight;
    }
    Terms both = fromLeft & fromRight;
    fromLeft.reset();
    fromRight.reset();
    EXPECT_EQ(Ask(both), StartInfo::Start);
    EXPECT_EQ(asked, 2 * many);
    both.reset();
    EXPECT_EQ(single.use_count(), 1);
}

TEST(JobTermsConjunction, AJobMayWaitForManyTicketsThatWereFoldedTogether) {
    constexpr int many = 100'000;
    Event release;
    CJobQueue queue(std::make_shared<CThreadPool>(2), 1);
    const CJobTicket running = queue.Queue([&] { release.Wait(); });
    Terms terms;
    for (int i = 0; i != many; ++i)
        terms = terms & after(running);
    const CJobTicket waiting = queue.Queue([] {}, terms);
    const CJobTicket polled = queue.Queue([] {}, terms & Answering(StartInfo::Start));
    terms.reset();
    EXPECT_FALSE(waiting.Wait(0));
    release.Set();
    waiting.Wait();
    polled.Wait();
}

// Nothing but the count of references tells the one thread that the other has finished.
TEST(JobTermsConjunction, MayEndAsSoonAsAnotherThreadHasLetGoOfIt) {
    for (int round = 0; round != 200; ++round) {
        Terms inner = Answering(StartInfo::Start) & Answering(StartInfo::Drop);
        Terms outer = inner & Answering(StartInfo::Start);
        std::thread other([asked = outer->condition]() mutable {
            EXPECT_EQ(asked(), StartInfo::Drop);
            asked = nullptr;
        });
        const std::weak_ptr<CJobTermsImpl> watched = inner;
        inner.reset();
        while (watched.use_count() != 1)
            std::this_thread::yield();
        outer.reset();
        EXPECT_TRUE(watched.expired());
        other.join();
    }
}

TEST(JobTermsConjunction, AnAnswerThatIsNoneOfTheThreePostpones) {
    const Terms strange = Answering(static_cast<StartInfo>(7));
    EXPECT_EQ(Ask(strange & Answering(StartInfo::Start)), StartInfo::Postpone);
}

} // namespace
