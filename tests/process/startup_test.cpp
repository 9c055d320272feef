// Startup() again, and sessions.
#include <kq/kq.h>

#include "process/busy_pool.h"
#include "process/process_level.h"
#include "process/scenario.h"
#include "process/services.h"

#include <atomic>
#include <memory>
#include <stdexcept>

using namespace kq::concurrency;
using scenario::Close;

namespace {

void DoSomeWork() {
    std::atomic<int> ran{0};
    const CJobTicket first = jobQueue->Queue([&ran] { ++ran; });
    const CJobTicket second = jobQueue->Queue([&ran] { ++ran; }, after(first) & isBlocking);
    const CJobTicket third = jobQueue->Queue(
        [&ran] { ++ran; },
        condition([second] { return second.Wait(0) ? StartInfo::Start : StartInfo::Postpone; }));
    third.Wait();
    CHECK(ran == 3);
}

} // namespace

SCENARIO(the_library_is_ready_when_main_begins) {
    CHECK(ServicesAreThere());
    DoSomeWork();
    Close();
}

SCENARIO(startup_after_shutdown_begins_again) {
    const std::weak_ptr<CThreadPool> before = threadPool.GetShared();
    DoSomeWork();
    kq::Shutdown();
    CHECK(ServicesAreMissing());
    kq::Startup();
    CHECK(ServicesAreThere());
    CHECK(before.expired());
    CHECK(threadPool->JobCount() == 0);
    DoSomeWork();
    Close();
}

SCENARIO(startup_while_started_changes_nothing) {
    const auto queue = jobQueue.GetShared();
    const auto pool = threadPool.GetShared();
    const auto names = kq::thread::threadNameManager.GetShared();
    Occupy(1, BlockForever, isBlocking);
    kq::Startup();
    kq::Startup();
    CHECK(jobQueue.GetShared() == queue);
    CHECK(threadPool.GetShared() == pool);
    CHECK(kq::thread::threadNameManager.GetShared() == names);
    DoSomeWork();
    Close();
}

SCENARIO(lives_leave_nothing_behind) {
    kq::Shutdown();
    CHECK(LeavesNothingBehind([] {
        kq::Startup();
        Occupy(
            BlockingLimit(), [] {}, isBlocking);
        DoSomeWork();
        kq::Shutdown();
    }));
    Close();
}

SCENARIO(a_session_shuts_down_at_its_end) {
    {
        const kq::Session session;
        CHECK(ServicesAreThere());
        DoSomeWork();
    }
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(sessions_follow_one_another) {
    for (int round = 0; round != 3; ++round) {
        const kq::Session session;
        DoSomeWork();
    }
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(a_session_that_main_leaves_early_finishes_the_jobs) {
    std::atomic<int> ran{0};
    const auto leave = [&ran] {
        const kq::Session session;
        for (int job = 0; job != 1'000; ++job)
            jobQueue->Queue([&ran] { ++ran; });
        if (ServicesAreThere())
            return;
        DoSomeWork();
    };
    leave();
    CHECK(ran == 1'000);
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(a_session_that_an_exception_leaves_finishes_the_jobs) {
    std::atomic<int> ran{0};
    try {
        const kq::Session session;
        for (int job = 0; job != 1'000; ++job)
            jobQueue->Queue([&ran] {
                AwaitShutdown();
                ++ran;
            });
        throw std::runtime_error("main gives up");
    } catch (const std::runtime_error&) {
        CHECK(ran == 1'000);
    }
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(shutdown_inside_a_session_is_not_repeated_at_its_end) {
    {
        const kq::Session session;
        kq::Shutdown();
        CHECK(ServicesAreMissing());
    }
    CHECK(ServicesAreMissing());
    Close();
}
