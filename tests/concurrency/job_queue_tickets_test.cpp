// Jobs that wait for other jobs.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::Random;

namespace {

constexpr std::size_t many = 100'000;

class JobQueueTickets : public testing::Test {
protected:
    // A job that runs until `release`, and then fails if it is to.
    CJobTicket Blocked(bool fails = false) {
        CJobTicket ticket = queue.Queue([this, fails] {
            started.Set();
            release.Wait();
            if (fails)
                throw std::runtime_error("no");
        });
        started.Wait();
        return ticket;
    }

    Event started, release;
    CJobQueue queue{std::make_shared<CThreadPool>(2), 1};
};

void WaitForEnd(const CJobTicket& ticket) {
    std::optional<std::string> error;
    ticket.Wait(error);
}

TEST_F(JobQueueTickets, AJobAfterAnotherOneRunsOnlyThen) {
    const CJobTicket first = Blocked();
    bool firstHadEnded = false;
    const CJobTicket second = queue.Queue([&] { firstHadEnded = first.Wait(0); }, after(first));
    queue.Queue([] {}).Wait();
    EXPECT_FALSE(second.Wait(0));
    release.Set();
    second.Wait();
    EXPECT_TRUE(firstHadEnded);
}

TEST_F(JobQueueTickets, RemovingTheAwaitedJobLetsTheLaterOneRunOrDropsIt) {
    const CJobTicket running = Blocked();
    const CJobTicket awaited = queue.Queue([] {}, after(running));
    bool ran = false, dependentRan = false;
    const CJobTicket later = queue.Queue([&] { ran = true; }, after(awaited));
    const CJobTicket dependent = queue.Queue([&] { dependentRan = true; }, dependsOn(awaited));
    EXPECT_TRUE(queue.Remove(awaited));
    later.Wait();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(dependent.Wait(0));
    EXPECT_FALSE(dependentRan);
    EXPECT_FALSE(queue.Remove(dependent));
    release.Set();
}

TEST_F(JobQueueTickets, AFailureDropsWhatDependsOnItAndStartsWhatOnlyComesAfter) {
    const CJobTicket failing = Blocked(true);
    bool ran = false, dependentRan = false;
    const CJobTicket dependent = queue.Queue([&] { dependentRan = true; }, dependsOn(failing));
    const CJobTicket later = queue.Queue([&] { ran = true; }, after(failing));
    release.Set();
    later.Wait();
    dependent.Wait();
    EXPECT_TRUE(ran);
    EXPECT_FALSE(dependentRan);
}

TEST_F(JobQueueTickets, TermsThatAreMetAlreadyStartAtOnceAndThoseThatNeverWillBeDropAtOnce) {
    const CJobTicket done = queue.Queue([] {});
    done.Wait();
    const CJobTicket failed = queue.Queue([] { throw 1; });
    WaitForEnd(failed);
    bool ran = false;
    queue.Queue([&] { ran = true; }, dependsOn(done) & after(failed)).Wait();
    EXPECT_TRUE(ran);
    bool isGone = false;
    const CJobTicket dropped =
        queue.Queue([token = kq_test::OnDestruction([&] { isGone = true; })] {}, dependsOn(failed));
    EXPECT_TRUE(dropped.Wait(0));
    EXPECT_TRUE(isGone);
}

TEST_F(JobQueueTickets, TheFirstOfAListThatIsNotDoneDecides) {
    const CJobTicket running = Blocked();
    const CJobTicket failed = queue.Queue([] { throw 1; });
    WaitForEnd(failed);
    bool ran = false;
    const CJobTicket waits = queue.Queue([&] { ran = true; }, dependsOn({running, failed}));
    const CJobTicket dropped = queue.Queue([&] { ran = true; }, dependsOn({failed, running}));
    EXPECT_TRUE(dropped.Wait(0));
    EXPECT_FALSE(waits.Wait(0));
    release.Set();
    running.Wait();
    waits.Wait();
    EXPECT_FALSE(ran);
}

TEST_F(JobQueueTickets, AConjunctionIsDroppedAsSoonAsOnePartNeverWillBeMet) {
    const CJobTicket running = Blocked();
    const CJobTicket failed = queue.Queue([] { throw 1; });
    bool ran = false;
    const CJobTicket dropped =
        queue.Queue([&] { ran = true; }, after(running) & dependsOn(failed) & after(running));
    dropped.Wait();
    EXPECT_FALSE(running.Wait(0));
    release.Set();
    running.Wait();
    EXPECT_FALSE(ran);
}

TEST_F(JobQueueTickets, AConjunctionWaitsForEveryPart) {
    Event releaseOther;
    const CJobTicket running = Blocked();
    const CJobTicket other = queue.Queue([&] { releaseOther.Wait(); });
    bool bothHadEnded = false;
    const CJobTicket both = queue.Queue(
        [&] { bothHadEnded = running.Wait(0) && other.Wait(0); },
        after({running, running}) & dependsOn(other) & after(other) & dependsOn({running, other}));
    releaseOther.Set();
    other.Wait();
    EXPECT_FALSE(both.Wait(0));
    release.Set();
    both.Wait();
    EXPECT_TRUE(bothHadEnded);
}

TEST_F(JobQueueTickets, JobsOfOtherQueuesAndPoolsCanBeWaitedFor) {
    Event releaseOutside;
    CThreadPool pool;
    CJobQueue other(std::make_shared<CThreadPool>(1), 1);
    const CJobTicket started1 = pool.Start([&] { releaseOutside.Wait(); });
    const CJobTicket queued = other.Queue([&] { releaseOutside.Wait(); });
    const CJobTicket blocking = queue.Queue([&] { releaseOutside.Wait(); }, isBlocking);
    bool ran = false;
    const CJobTicket last =
        queue.Queue([&] { ran = true; }, after({started1, queued}) & dependsOn(blocking));
    releaseOutside.Set();
    last.Wait();
    EXPECT_TRUE(ran);
}

TEST_F(JobQueueTickets, WokenJobsStartInTheOrderOfSubmissionAmongTheOthers) {
    CJobQueue single(std::make_shared<CThreadPool>(1), 1);
    const CJobTicket running = single.Queue([this] { release.Wait(); });
    std::vector<int> order;
    std::vector<CJobTicket> tickets;
    for (int i = 0; i != 900; ++i) {
        std::shared_ptr<CJobTermsImpl> terms;
        if (i % 3 == 1)
            terms = after(running);
        else if (i % 3 == 2)
            terms =
                condition([&] { return running.Wait(0) ? StartInfo::Start : StartInfo::Postpone; });
        tickets.push_back(single.Queue([&order, i] { order.push_back(i); }, terms));
    }
    release.Set();
    for (const CJobTicket& ticket : tickets)
        ticket.Wait();
    ASSERT_EQ(order.size(), 900U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(JobQueueTickets, ManyWaitingJobsDoNotHoldUpOthers) {
    const CJobTicket running = Blocked();
    std::atomic<std::size_t> ran{0};
    std::vector<CJobTicket> waiting;
    for (std::size_t i = 0; i != many; ++i)
        waiting.push_back(queue.Queue([&] { ++ran; }, after(running)));
    for (int i = 0; i != 1000; ++i)
        queue.Queue([] {}).Wait();
    EXPECT_EQ(ran, 0U);
    release.Set();
    for (const CJobTicket& ticket : waiting)
        ticket.Wait();
    EXPECT_EQ(ran, many);
}

TEST_F(JobQueueTickets, ALongChainRunsInOrder) {
    std::size_t next = 0;
    std::size_t outOfOrder = 0;
    CJobTicket last = Blocked();
    for (std::size_t i = 0; i != many; ++i)
        last = queue.Queue(
            [&, i] {
                if (next++ != i)
                    ++outOfOrder;
            },
            i % 2 == 0 ? after(last) : dependsOn(last));
    release.Set();
    last.Wait();
    EXPECT_EQ(next, many);
    EXPECT_EQ(outOfOrder, 0U);
}

TEST_F(JobQueueTickets, ALongChainThatDependsOnAFailureIsDroppedAsAWhole) {
    std::atomic<std::size_t> ran{0}, gone{0};
    std::vector<CJobTicket> chain{Blocked(true)};
    for (std::size_t i = 0; i != many; ++i)
        chain.push_back(queue.Queue([&, token = kq_test::OnDestruction([&] { ++gone; })] { ++ran; },
                                    dependsOn(chain.back())));
    release.Set();
    chain.back().Wait();
    EXPECT_EQ(ran, 0U);
    EXPECT_EQ(gone, many);
    for (std::size_t i = 1; i != chain.size(); ++i)
        ASSERT_TRUE(chain[i].Wait(0));
}

TEST_F(JobQueueTickets, RemovingTheFirstLinkDropsTheWholeChain) {
    const CJobTicket running = Blocked();
    const CJobTicket first = queue.Queue([] {}, after(running));
    std::atomic<std::size_t> ran{0};
    CJobTicket last = first;
    for (std::size_t i = 0; i != many; ++i)
        last = queue.Queue([&] { ++ran; }, dependsOn(last));
    EXPECT_TRUE(queue.Remove(first));
    EXPECT_TRUE(last.Wait(0));
    release.Set();
    running.Wait();
    EXPECT_EQ(ran, 0U);
}

TEST_F(JobQueueTickets, ManyWaitingJobsCanBeRemovedInAnyOrder) {
    const std::uint32_t seed = kq_test::Seed();
    const CJobTicket running = Blocked();
    std::atomic<std::size_t> ran{0};
    std::vector<CJobTicket> waiting;
    for (std::size_t i = 0; i != many; ++i)
        waiting.push_back(
            queue.Queue([&] { ++ran; }, i % 2 == 0 ? after(running) : dependsOn(running)));
    Random random(seed, 0);
    for (std::size_t i = many; i > 1; --i)
        std::swap(waiting[i - 1], waiting[random.Below(static_cast<std::uint32_t>(i))]);
    for (std::size_t i = 0; i != many; ++i) {
        ASSERT_TRUE(queue.Remove(waiting[i]));
        ASSERT_TRUE(waiting[i].Wait(0));
    }
    release.Set();
    running.Wait();
    EXPECT_EQ(ran, 0U);
}

// Each job waits for a few earlier ones; several threads remove some at the same time.
TEST_F(JobQueueTickets, ANetOfJobsKeepsItsOrderUnderRemovals) {
    const std::uint32_t seed = kq_test::Seed();
    for (std::uint32_t round = 0; round != 10; ++round) {
        constexpr std::size_t count = 2'000;
        Random random(seed, round);
        std::vector<CJobTicket> tickets(count);
        std::vector<std::vector<std::size_t>> earlier(count);
        std::vector<std::atomic<int>> state(count); // 1 ran, 2 removed by us
        std::atomic<int> wrong{0};
        Event go;
        CJobQueue net(std::make_shared<CThreadPool>(3), 1);
        std::vector<std::thread> removers;
        for (std::uint32_t t = 0; t != 2; ++t)
            removers.emplace_back([&, t] {
                go.Wait();
                Random own(seed + 1, round * 2 + t);
                for (int i = 0; i != 300; ++i) {
                    const std::size_t victim = own.Below(count);
                    if (net.Remove(tickets[victim]))
                        state[victim] = 2;
                }
            });
        for (std::size_t i = 0; i != count; ++i) {
            std::shared_ptr<CJobTermsImpl> terms;
            std::vector<CJobTicket> list;
            for (std::uint32_t links = i == 0 ? 0 : 1 + random.Below(3); links != 0; --links) {
                const std::size_t link =
                    i - 1 - random.Below(static_cast<std::uint32_t>(std::min<std::size_t>(i, 50)));
                earlier[i].push_back(link);
                list.push_back(tickets[link]);
                if (random.OneIn(2)) {
                    terms = terms & after(list);
                    list.clear();
                }
            }
            terms = terms & after(list);
            tickets[i] = net.Queue(
                [&, i] {
                    if (i == 0)
                        go.Wait();
                    for (const std::size_t link : earlier[i])
                        if (!tickets[link].Wait(0))
                            ++wrong;
                    if (state[i].exchange(1) != 0)
                        ++wrong;
                },
                terms);
        }
        go.Set();
        for (std::thread& remover : removers)
            remover.join();
        for (std::size_t i = 0; i != count; ++i) {
            tickets[i].Wait();
            ASSERT_NE(state[i], 0) << "round " << round << ", job " << i;
        }
        ASSERT_EQ(wrong, 0) << "round " << round;
    }
}

} // namespace
