// Threads of the host that end, and their names.
#include <kq/kq.h>

#include "process/flag.h"
#include "process/scenario.h"
#include "process/services.h"

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq::thread::threadNameManager;
using scenario::Close;

SCENARIO(a_thread_that_ends_loses_its_name) {
    unsigned long id = 0;
    const Flag named;
    const Flag mayEnd;
    std::thread thread([&id, named, mayEnd] {
        id = GetCurrentThreadId();
        threadNameManager->SetCurrentName("worker");
        named.Set();
        mayEnd.Wait();
    });
    named.Wait();
    CHECK(threadNameManager->GetName(id) == "worker");
    mayEnd.Set();
    thread.join();
    CHECK(threadNameManager->GetName(id) == std::to_string(id));
    Close();
}

SCENARIO(a_pool_thread_that_ends_loses_its_name) {
    unsigned long id = 0;
    {
        CThreadPool pool(1);
        pool.Start([&id] {
                id = GetCurrentThreadId();
                threadNameManager->SetCurrentName("of the pool");
            })
            .Wait();
        CHECK(threadNameManager->GetName(id) == "of the pool");
    }
    CHECK(threadNameManager->GetName(id) == std::to_string(id));
    Close();
}

SCENARIO(a_thread_ends_after_shutdown) {
    const Countdown named(8);
    const Flag mayEnd;
    std::vector<std::thread> threads;
    for (int thread = 0; thread != 8; ++thread)
        threads.emplace_back([named, mayEnd] {
            threadNameManager->SetCurrentName("late");
            jobQueue->Queue([] {}).Wait();
            named.Arrive();
            mayEnd.Wait();
        });
    named.Wait();
    kq::Shutdown();
    mayEnd.Set();
    for (std::thread& thread : threads)
        thread.join();
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(a_thread_begins_and_ends_after_shutdown) {
    kq::Shutdown();
    std::thread([] { CHECK(ServicesAreMissing()); }).join();
    Close();
}

SCENARIO(a_thread_ends_in_the_next_life) {
    const Flag named;
    const Flag mayEnd;
    std::thread thread([named, mayEnd] {
        threadNameManager->SetCurrentName("of the first life");
        named.Set();
        mayEnd.Wait();
    });
    named.Wait();
    kq::Shutdown();
    kq::Startup();
    mayEnd.Set();
    thread.join();
    Close();
}

SCENARIO(threads_end_while_the_library_shuts_down) {
    for (int round = 0; round != 50; ++round) {
        kq::Startup();
        const Countdown named(4);
        std::vector<std::thread> threads;
        for (int thread = 0; thread != 4; ++thread)
            threads.emplace_back([named] {
                threadNameManager->SetCurrentName("short");
                named.Arrive();
            });
        named.Wait();
        kq::Shutdown();
        for (std::thread& thread : threads)
            thread.join();
    }
    Close();
}
