#include "concurrency/bare_thread.h"
#include "concurrency/empty_job.h"
#include "concurrency/executors.h"
#include "concurrency/rows.h"
#include "event.h"
#include "stopwatch.h"
#include "table.h"

#include <chrono>
#include <thread>
#include <vector>

namespace bench {

namespace {

template <class Executor>
struct Relay {
    Executor& executor;
    std::size_t left = 0; // only the one running job touches it
    Event finished;

    struct Step {
        Relay* relay;
        void operator()() const {
            if (--relay->left == 0)
                relay->finished.Set();
            else
                relay->executor.Post(*this);
        }
    };
};

template <class Executor>
void EnterRelay(Row& row, const char* name, Executor& executor) {
    EnterExecutor<Executor>(row, name, [&executor] {
        constexpr std::size_t depth = 100'000;
        Relay<Executor> relay{executor, depth, {}};
        const Stopwatch watch;
        executor.Post(typename Relay<Executor>::Step{&relay});
        relay.finished.Wait();
        return watch.NanosecondsPer(depth);
    });
}

/// What `handOver` costs when everybody has gone to sleep, in microseconds.
template <class HandOver>
double CostAfterSleep(HandOver handOver) {
    // Long enough for every thread of every executor.
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    const Stopwatch watch;
    handOver();
    constexpr double nanosecondsPerMicrosecond = 1000;
    return watch.Nanoseconds() / nanosecondsPerMicrosecond;
}

template <class Executor>
void EnterWakeUp(Row& row, const char* name, Executor& executor) {
    EnterExecutor<Executor>(row, name, [&executor] {
        return CostAfterSleep([&executor] {
            executor.Begin(1);
            std::vector<typename Executor::Handle> handles;
            handles.push_back(executor.Submit(Empty{}));
            executor.WaitForAll(handles);
        });
    });
}

} // namespace

void Relays() {
    KqExecutor executor;
    Counted<PlatformCallbacks> callbacks;
    Counted<AsioPosts> posts;
    Row row("A job that queues the next, 100,000 deep", "ns/job");
    EnterRelay(row, kqName, executor);
    EnterRelay(row, callbackName, callbacks);
    EnterRelay(row, asioPostName, posts);
    row.AimAtMost(120);
    Measure({&row}, 15);
    row.Report();
}

void WakeUps() {
    constexpr std::size_t samples = 200;
    KqExecutor executor;
    PlatformWork work;
    Counted<PlatformCallbacks> callbacks;
    Counted<AsioPosts> posts;
    AsioFutures futures;
    StdAsync async;
    Row row("Queue to done, the pool asleep", "µs/job");
    EnterWakeUp(row, kqName, executor);
    EnterWakeUp(row, workName, work);
    EnterWakeUp(row, callbackName, callbacks);
    EnterWakeUp(row, asioPostName, posts);
    EnterWakeUp(row, asioFutureName, futures);
#if defined(KQ_BENCH_LIBTHREADPOOL)
    LibThreadPool pool;
    EnterWakeUp(row, libThreadPoolName, pool);
#endif
    EnterWakeUp(row, asyncName, async);
    BareThread bare;
    row.EnterLimit("a thread woken and waking by one word each",
                   [&bare] { return CostAfterSleep([&bare] { bare.Ask(); }); });
    row.AimAtMostTimes(0.7, "Threadpool", "the platform's pool");
    Measure({&row}, samples);
    row.Report();
}

} // namespace bench
