// Shutdown() with work in flight.
#include <kq/kq.h>

#include "process/busy_pool.h"
#include "process/flag.h"
#include "process/scenario.h"
#include "process/services.h"

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using scenario::Close;

namespace {

// Runs until `Shutdown()` has begun.
CJobTicket QueueJobInFlight(const std::shared_ptr<CJobTermsImpl>& terms = {}) {
    const Flag begun;
    CJobTicket ticket = jobQueue->Queue(
        [begun] {
            begun.Set();
            AwaitShutdown();
        },
        terms);
    begun.Wait();
    return ticket;
}

bool IsFinished(const CJobTicket& ticket) {
    std::optional<std::string> error;
    return ticket.Wait(0, error);
}

} // namespace

SCENARIO(shutdown_with_nothing_queued) {
    kq::Shutdown();
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(shutdown_runs_all_that_was_queued) {
    std::atomic<int> ran{0};
    const CJobTicket inFlight = QueueJobInFlight();
    const CJobTicket blockingInFlight = QueueJobInFlight(isBlocking);
    constexpr int rounds = 1'000;
    for (int job = 0; job != rounds; ++job) {
        jobQueue->Queue([&ran] { ++ran; });
        jobQueue->Queue([&ran] { ++ran; }, isBlocking);
        jobQueue->Queue([&ran] { ++ran; }, after(inFlight));
        jobQueue->Queue([&ran] { ++ran; }, dependsOn({inFlight, blockingInFlight}) & isBlocking);
    }
    CHECK(!IsFinished(inFlight));
    kq::Shutdown();
    CHECK(ran == 4 * rounds);
    CHECK(IsFinished(inFlight) && IsFinished(blockingInFlight));
    Close();
}

SCENARIO(shutdown_drops_what_can_never_run) {
    std::atomic<int> ran{0};
    const CJobTicket failing = jobQueue->Queue([] {
        AwaitShutdown();
        throw std::runtime_error("on purpose");
    });
    const CJobTicket dependent = jobQueue->Queue([&ran] { ++ran; }, dependsOn(failing));
    const CJobTicket grandchild = jobQueue->Queue([&ran] { ++ran; }, dependsOn(dependent));
    const CJobTicket undecided = jobQueue->Queue(
        [&ran] { ++ran; }, condition([] {
            return jobQueue.GetShared() != nullptr ? StartInfo::Postpone : StartInfo::Drop;
        }));
    kq::Shutdown();
    CHECK(ran == 0);
    for (const CJobTicket& ticket : {failing, dependent, grandchild, undecided})
        CHECK(IsFinished(ticket));
    std::optional<std::string> error;
    failing.Wait(error);
    CHECK(error == "on purpose");
    Close();
}

SCENARIO(shutdown_waits_for_a_condition_that_allows_late) {
    const auto ran = std::make_shared<std::atomic<bool>>(false);
    jobQueue->Queue([ran] { *ran = true; }, condition([] {
                        return jobQueue.GetShared() != nullptr ? StartInfo::Postpone
                                                               : StartInfo::Start;
                    }));
    kq::Shutdown();
    CHECK(*ran);
    Close();
}

SCENARIO(a_job_during_shutdown_finds_no_queue) {
    const CJobTicket ticket = jobQueue->Queue([] {
        AwaitShutdown();
        CHECK(IsMissing(jobQueue));
        jobQueue->Queue([] {});
    });
    std::optional<std::string> error;
    kq::Shutdown();
    ticket.Wait(error);
    CHECK(error ==
          std::string("Singleton instance of ") + typeid(CJobQueue).name() + " does not exists!");
    Close();
}

SCENARIO(a_job_during_shutdown_still_finds_the_pool) {
    std::atomic<bool> ran{false};
    jobQueue->Queue([&ran] {
        AwaitShutdown();
        threadPool->Start([&ran] { ran = true; });
    });
    kq::Shutdown();
    CHECK(ran);
    Close();
}

SCENARIO(shutdown_runs_what_jobs_queue_through_a_shared_copy) {
    // Each job submits the next one to the other lane.
    struct Relay {
        std::shared_ptr<CJobQueue> queue;
        std::atomic<int>& left;
        void operator()() const {
            AwaitShutdown();
            if (--left > 0)
                queue->Queue(*this, left % 2 != 0 ? isBlocking : nullptr);
        }
    };
    std::atomic<int> left{100};
    jobQueue->Queue(Relay{jobQueue.GetShared(), left});
    kq::Shutdown();
    CHECK(left == 0);
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(shutdown_with_jobs_that_hold_the_queue_and_the_pool) {
    const std::weak_ptr<CJobQueue> queue = jobQueue.GetShared();
    const std::weak_ptr<CThreadPool> pool = threadPool.GetShared();
    const Countdown begun(2);
    // The pool's own job is still at it when the queue's jobs have all come to their end.
    threadPool->Start([begun, queue = jobQueue.GetShared(), pool = threadPool.GetShared()] {
        begun.Arrive();
        while (threadPool.GetShared() != nullptr)
            SwitchToThread();
    });
    jobQueue->Queue([begun, queue = jobQueue.GetShared(), pool = threadPool.GetShared()] {
        begun.Arrive();
        AwaitShutdown();
    });
    begun.Wait();
    kq::Shutdown();
    CHECK(queue.expired() && pool.expired());
    Close();
}

SCENARIO(shutdown_waits_for_jobs_that_were_started_on_the_pool) {
    std::atomic<bool> ran{false};
    const Flag begun;
    threadPool->Start([&ran, begun] {
        begun.Set();
        while (threadPool.GetShared() != nullptr)
            SwitchToThread();
        ran = true;
    });
    begun.Wait();
    kq::Shutdown();
    CHECK(ran);
    Close();
}

SCENARIO(a_queue_that_the_host_holds_outlives_shutdown) {
    const std::shared_ptr<CJobQueue> held = jobQueue.GetShared();
    std::atomic<int> ran{0};
    held->Queue([&ran] { ++ran; });
    kq::Shutdown();
    CHECK(ran == 1);
    CHECK(ServicesAreMissing());
    held->Queue([&ran] { ++ran; }).Wait();
    held->Queue([&ran] { ++ran; }, isBlocking).Wait();
    CHECK(ran == 3);
    Close();
}

SCENARIO(shutdown_ends_every_thread_of_the_library) {
    std::vector<HANDLE> threads(8);
    const Countdown met(threads.size());
    for (HANDLE& thread : threads)
        jobQueue->Queue(
            [&thread, met] {
                const HANDLE process = GetCurrentProcess();
                CHECK(DuplicateHandle(process, GetCurrentThread(), process, &thread, SYNCHRONIZE,
                                      FALSE, 0));
                met.Arrive();
                met.Wait();
            },
            isBlocking);
    kq::Shutdown();
    for (const HANDLE thread : threads)
        CHECK(WaitForSingleObject(thread, 0) == WAIT_OBJECT_0);
    Close();
}

SCENARIO(shutdown_wakes_host_threads_that_wait) {
    const CJobTicket inFlight = QueueJobInFlight();
    const CJobTicket last = jobQueue->Queue([] {}, after(inFlight));
    std::vector<std::thread> waiting;
    for (const CJobTicket& ticket : {inFlight, last, inFlight, last})
        waiting.emplace_back([ticket] { ticket.Wait(); });
    kq::Shutdown();
    for (std::thread& thread : waiting)
        thread.join();
    Close();
}

SCENARIO(shutdown_while_host_threads_submit) {
    std::atomic<int> queued{0};
    std::atomic<int> ran{0};
    const Countdown submitting(3);
    std::vector<std::thread> hosts;
    for (int host = 0; host != 3; ++host)
        hosts.emplace_back([&queued, &ran, submitting] {
            bool hasArrived = false;
            while (const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared()) {
                queue->Queue([&ran] { ++ran; });
                ++queued;
                if (!hasArrived)
                    submitting.Arrive();
                hasArrived = true;
            }
        });
    submitting.Wait();
    kq::Shutdown();
    for (std::thread& host : hosts)
        host.join();
    // A host's shared copy may have been the last one: then its destruction waited for the jobs.
    CHECK(ran == queued);
    Close();
}

SCENARIO(shutdown_a_second_time_does_nothing) {
    jobQueue->Queue([] {}).Wait();
    kq::Shutdown();
    kq::Shutdown();
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(tickets_outlive_shutdown) {
    const CJobTicket done = jobQueue->Queue([] {});
    const CJobTicket failed = jobQueue->Queue([] { throw std::runtime_error("kept"); });
    kq::Shutdown();
    done.Wait();
    std::optional<std::string> error;
    failed.Wait(error);
    CHECK(error == "kept");
    try {
        failed.Wait();
        scenario::Fail(__FILE__, __LINE__, "the failure was not thrown");
    } catch (const std::runtime_error& thrown) {
        CHECK(thrown.what() == std::string("kept"));
    }
    // Terms on them are as good as ever.
    kq::Startup();
    const CJobTicket later = jobQueue->Queue([] {}, after(failed) & dependsOn(done));
    later.Wait();
    Close();
}
