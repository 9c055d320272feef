// The loops that serve a queue: they come, sleep, and go, and no job is forgotten meanwhile.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/test_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::Counter;
using kq_test::Event;
using kq_test::ReturnsInTime;
using kq_test::TestFactory;

namespace {

TEST(JobQueueDispatchers, TheQueueEndsAfterARunningJobDroppedTheLastWaitingOne) {
    const auto pool = std::make_shared<CThreadPool>(2);
    for (int round = 0; round != 200; ++round) {
        ReturnsInTime("the end of a queue", [&] {
            Event started, release;
            CJobQueue queue(pool, 1);
            const CJobTicket failing = queue.Queue([&] {
                started.Set();
                release.Wait();
                throw std::runtime_error("no");
            });
            started.Wait();
            queue.Queue([] {}, dependsOn(failing));
            // Its dispatcher finds nothing more to do but to wait.
            queue.Queue([] {}).Wait();
            release.Set();
        });
    }
}

TEST(JobQueueDispatchers, AJobThatMayStartDoesSoWhileARunningOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    CJobQueue queue(pool, 1);
    for (int round = 0; round != 200; ++round) {
        const CJobTicket outer = queue.Queue([&] { queue.Queue([] {}).Wait(); });
        EXPECT_TRUE(outer.Wait(30'000));
    }
}

TEST(JobQueueDispatchers, AJobThatBecomesReadyStartsWhileTheDestructorOfADroppedOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    Event release, hasRun;
    CJobQueue queue(pool, 1);
    const CJobTicket failing = queue.Queue([&] {
        release.Wait();
        throw std::runtime_error("no");
    });
    const auto token = [&] { return kq_test::OnDestruction([&] { hasRun.Wait("the job"); }); };
    const CJobTicket dropped = queue.Queue([held = token()] {}, dependsOn(failing));
    queue.Queue([&] { hasRun.Set(); }, after(failing));
    release.Set();
    dropped.Wait();
    EXPECT_TRUE(hasRun.IsSet());
}

TEST(JobQueueDispatchers, AJobStartsWhileTheDestructorOfADroppedPolledOneWaitsForIt) {
    const auto pool = std::make_shared<CThreadPool>(2);
    bool hasRun = false;
    CJobQueue queue(pool, 1);
    const CJobTicket dropped = queue.Queue(
        [held = kq_test::OnDestruction([&] { hasRun = queue.Queue([] {}).Wait(30'000); })] {},
        condition([] { return StartInfo::Drop; }));
    dropped.Wait();
    EXPECT_TRUE(hasRun);
}

} // namespace
