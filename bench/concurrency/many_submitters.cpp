#include "concurrency/empty_job.h"
#include "concurrency/executors.h"
#include "concurrency/rows.h"
#include "event.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <atomic>
#include <thread>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t submitters = 4;

template <class Executor>
double ManySubmitters(Executor& executor, std::size_t jobsEach, const Empty& job) {
    Event gate;
    Countdown ready;
    Countdown submitted;
    ready.Begin(submitters);
    submitted.Begin(submitters);
    std::vector<std::vector<typename Executor::Handle>> handles(submitters);
    std::vector<std::thread> threads;
    threads.reserve(submitters);
    for (auto& own : handles)
        threads.emplace_back([&] {
            own.reserve(jobsEach);
            ready.CountOne();
            gate.Wait();
            for (std::size_t i = 0; i != jobsEach; ++i)
                own.push_back(executor.Submit(job));
            submitted.CountOne();
        });
    ready.Wait();
    executor.Begin(submitters * jobsEach);
    const Stopwatch watch;
    gate.Set();
    submitted.Wait();
    for (const auto& own : handles)
        executor.WaitForAll(own);
    handles.clear();
    const double cost = watch.NanosecondsPer(submitters * jobsEach);
    for (std::thread& thread : threads)
        thread.join();
    return cost;
}

template <class Executor>
void EnterManySubmitters(Row& row, const char* name, Executor& executor, std::size_t jobsEach) {
    std::atomic<std::size_t> runs{0};
    ManySubmitters(executor, jobsEach, Empty{&runs});
    Require(runs == submitters * jobsEach, name);
    EnterExecutor<Executor>(
        row, name, [&executor, jobsEach] { return ManySubmitters(executor, jobsEach, Empty{}); });
}

} // namespace

void ManySubmitters() {
    KqExecutor executor;
    PlatformWork work;
    Counted<PlatformCallbacks> callbacks;
    Counted<AsioPosts> posts;
    AsioFutures futures;
    constexpr std::size_t jobsEach = 25'000;
    constexpr std::size_t peerJobsEach = 2'500; // they take too long for more
    Row row("4 submitting threads, 25,000 empty jobs each", "ns/job");
    EnterManySubmitters(row, kqName, executor, jobsEach);
    EnterManySubmitters(row, workName, work, peerJobsEach);
    EnterManySubmitters(row, callbackName, callbacks, peerJobsEach);
    EnterManySubmitters(row, asioPostName, posts, peerJobsEach);
    EnterManySubmitters(row, asioFutureName, futures, peerJobsEach);
#if defined(KQ_BENCH_LIBTHREADPOOL)
    LibThreadPool pool;
    EnterManySubmitters(row, libThreadPoolName, pool, peerJobsEach);
#endif
    row.AimAtMost(300);
    row.AimAtMostTimes(1);
    Measure({&row}, 9);
    row.Report();
}

} // namespace bench
