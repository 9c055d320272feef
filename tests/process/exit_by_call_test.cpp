// The process is ended by a call, on whichever thread, while jobs run.
#include <kq/kq.h>

#include "process/busy_pool.h"
#include "process/forever.h"
#include "process/scenario.h"
#include "process/services.h"

#include <cstdlib>
#include <memory>
#include <thread>

using namespace kq::concurrency;
using scenario::cleanExit;
using scenario::Close;

namespace {

using End = void (*)();

[[noreturn]] void CallExitProcess() { ExitProcess(cleanExit); }
[[noreturn]] void CallExit() { std::exit(cleanExit); }
[[noreturn]] void CallQuickExit() { std::_Exit(cleanExit); }

void KeepThePoolBusy() {
    Occupy(1, ComputeForever, isBlocking);
    Occupy(4, BlockForever, isBlocking);
}

[[noreturn]] void OnMain(End end) {
    KeepThePoolBusy();
    Close();
    end();
    BlockForever();
}

[[noreturn]] void InAJob(End end) {
    KeepThePoolBusy();
    jobQueue->Queue([end] {
        Close();
        end();
    });
    BlockForever();
}

[[noreturn]] void OnAHostThread(End end) {
    KeepThePoolBusy();
    std::thread([end] {
        jobQueue->Queue([] {}).Wait();
        Close();
        end();
    }).detach();
    BlockForever();
}

} // namespace

SCENARIO(main_calls_ExitProcess) { OnMain(CallExitProcess); }
SCENARIO(main_calls_exit) { OnMain(CallExit); }
SCENARIO(main_calls_quick_exit) { OnMain(CallQuickExit); }

SCENARIO(a_job_calls_ExitProcess) { InAJob(CallExitProcess); }
SCENARIO(a_job_calls_exit) { InAJob(CallExit); }
SCENARIO(a_job_calls_quick_exit) { InAJob(CallQuickExit); }

SCENARIO(a_host_thread_calls_ExitProcess) { OnAHostThread(CallExitProcess); }
SCENARIO(a_host_thread_calls_exit) { OnAHostThread(CallExit); }
SCENARIO(a_host_thread_calls_quick_exit) { OnAHostThread(CallQuickExit); }

SCENARIO(a_job_of_the_pool_itself_calls_exit) {
    KeepThePoolBusy();
    threadPool->Start([] {
        Close();
        CallExit();
    });
    BlockForever();
}

SCENARIO(a_condition_calls_exit) {
    KeepThePoolBusy();
    jobQueue->Queue([] {}, condition([]() -> StartInfo {
                        Close();
                        CallExit();
                    }));
    BlockForever();
}

SCENARIO(what_a_job_captured_calls_exit_when_it_is_destroyed) {
    struct EndsTheProcess {
        ~EndsTheProcess() {
            Close();
            CallExit();
        }
    };
    KeepThePoolBusy();
    jobQueue->Queue([captured = std::make_shared<EndsTheProcess>()] {});
    BlockForever();
}

SCENARIO(a_job_calls_exit_inside_a_session) {
    const kq::Session session;
    InAJob(CallExit);
}

SCENARIO(a_job_calls_exit_during_shutdown) {
    KeepThePoolBusy();
    jobQueue->Queue([] {
        AwaitShutdown();
        Close();
        CallExit();
    });
    kq::Shutdown();
    scenario::Fail(__FILE__, __LINE__, "Shutdown returned while a job ran");
}

SCENARIO(the_main_thread_ends_before_a_job_calls_exit) {
    KeepThePoolBusy();
    HANDLE mainThread = nullptr;
    CHECK(DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &mainThread,
                          0, FALSE, DUPLICATE_SAME_ACCESS));
    jobQueue->Queue([mainThread] {
        WaitForSingleObject(mainThread, INFINITE);
        Close();
        CallExit();
    });
    ExitThread(0);
}
