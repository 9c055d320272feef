// The process ends with UI jobs pending or running.
#include <kq/kq.h>

#include <process/busy_pool.h>
#include <process/flag.h>
#include <process/scenario.h>
#include <support/ui_messages.h>

#include <windows.h>

#include <cstdlib>
#include <memory>
#include <thread>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using scenario::cleanExit;
using scenario::Close;

namespace {

std::shared_ptr<CJobTermsImpl> Never() {
    return inUIAsync & condition([] { return StartInfo::Postpone; });
}

void Unreachable() { scenario::Fail(__FILE__, __LINE__, "a job ran"); }

CJobTicket BlockedJob() {
    const Flag begun;
    CJobTicket ticket = jobQueue->Queue(
        [begun] {
            begun.Set();
            BlockForever();
        },
        isBlocking);
    begun.Wait();
    return ticket;
}

// Of every kind, taken over by the UI thread and not.
void QueueWaitingJobs() {
    const CJobTicket blocked = BlockedJob();
    for (int round = 0; round != 2; ++round) {
        jobQueue->Queue(Unreachable, Never());
        jobQueue->Queue(Unreachable, inUI & after(blocked));
        jobQueue->Queue(Unreachable, inUI & dependsOn(blocked) & Never());
        jobQueue->Queue(Unreachable, after(jobQueue->Queue(Unreachable, inUI & after(blocked))));
        if (round == 0)
            kq::win32::PumpMessageQueue();
    }
}

} // namespace

SCENARIO(main_returns_with_ui_jobs_queued) {
    std::thread([] {
        for (int job = 0; job != 10'000; ++job)
            jobQueue->Queue(Unreachable, inUI);
    }).join();
    Close();
}

SCENARIO(main_returns_while_ui_jobs_wait) {
    QueueWaitingJobs();
    Close();
}

SCENARIO(main_returns_while_threads_queue_ui_jobs) {
    const Countdown queuing(2);
    for (int thread = 0; thread != 2; ++thread)
        std::thread([queuing] {
            jobQueue->Queue([] {}, inUI);
            queuing.Arrive();
            for (;;)
                jobQueue->Remove(jobQueue->Queue([] {}, inUI));
        }).detach();
    queuing.Wait();
    Close();
}

SCENARIO(main_returns_while_a_thread_waits_for_a_ui_job) {
    const Flag waits;
    std::thread([waits] {
        const CJobTicket ticket = jobQueue->Queue(Unreachable, inUI);
        waits.Set();
        ticket.Wait();
    }).detach();
    waits.Wait();
    Close();
}

SCENARIO(main_returns_while_another_thread_runs_ui_jobs_of_its_own) {
    const Flag runs;
    std::thread([runs] {
        CUIJobQueue queue;
        queue.Queue(Unreachable, Never());
        queue.Queue(
            [runs] {
                runs.Set();
                ComputeForever();
            },
            inUIAsync);
        queue.Pump();
    }).detach();
    runs.Wait();
    Close();
}

SCENARIO(a_ui_job_calls_exit) {
    QueueWaitingJobs();
    jobQueue->Queue(
        [] {
            Close();
            std::exit(cleanExit);
        },
        inUIAsync);
    jobQueue->Queue(Unreachable, inUIAsync);
    DispatchUntil([] { return false; });
}

SCENARIO(a_ui_job_inside_another_calls_exit) {
    QueueWaitingJobs();
    jobQueue->Queue([] { DispatchUntil([] { return false; }); }, inUIAsync);
    jobQueue->Queue(
        [] {
            Close();
            ExitProcess(cleanExit);
        },
        inUIAsync);
    DispatchUntil([] { return false; });
}

SCENARIO(a_pool_job_calls_exit_while_a_ui_job_runs) {
    QueueWaitingJobs();
    const Flag runs;
    jobQueue->Queue(
        [runs] {
            runs.Wait();
            Close();
            std::exit(cleanExit);
        },
        isBlocking);
    jobQueue->Queue(
        [runs] {
            runs.Set();
            BlockForever();
        },
        inUI);
    scenario::Fail(__FILE__, __LINE__, "a job that never ends has ended");
}

SCENARIO(a_static_ui_queue_ends_after_main) {
    static CJobTicket waiting;
    struct Closes {
        ~Closes() {
            CHECK(waiting.Wait(0));
            Close();
        }
    };
    static Closes closes;
    static CUIJobQueue queue;
    waiting = queue.Queue(Unreachable, Never());
    queue.Pump();
    queue.Queue(Unreachable, inUIAsync);
}

// The static objects then end on a thread that is not the queue's; what can be done is done.
SCENARIO(a_static_ui_queue_ends_on_the_thread_that_calls_exit) {
    static CJobTicket waiting;
    struct Closes {
        ~Closes() {
            CHECK(waiting.Wait(0));
            Close();
        }
    };
    static Closes closes;
    static CUIJobQueue queue;
    waiting = queue.Queue(Unreachable, Never());
    queue.Pump();
    jobQueue->Queue([] { std::exit(cleanExit); });
    BlockForever();
}

SCENARIO(the_ui_thread_ends_before_the_process_does) {
    jobQueue->Queue(Unreachable, Never());
    kq::win32::PumpMessageQueue();
    HANDLE mainThread = nullptr;
    CHECK(DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &mainThread,
                          0, FALSE, DUPLICATE_SAME_ACCESS));
    jobQueue->Queue([mainThread] {
        WaitForSingleObject(mainThread, INFINITE);
        // Its window is gone: nobody runs these, and nobody is troubled.
        const CJobTicket ticket = jobQueue->Queue(Unreachable, inUI);
        jobQueue->Queue(Unreachable, inUI);
        CHECK(jobQueue->Remove(ticket));
        Close();
        std::exit(cleanExit);
    });
    ExitThread(0);
}
