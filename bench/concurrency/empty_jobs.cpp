#include "concurrency/empty_job.h"
#include "concurrency/executors.h"
#include "concurrency/holds.h"
#include "concurrency/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace bench {

using kq::concurrency::CJobTicket;
using kq::concurrency::jobQueue;

namespace {

template <class Executor>
void SubmitAndWait(Executor& executor, std::size_t count, const Empty& job) {
    executor.Begin(count);
    std::vector<typename Executor::Handle> handles;
    handles.reserve(count);
    for (std::size_t i = 0; i != count; ++i)
        handles.push_back(executor.Submit(job));
    executor.WaitForAll(handles);
}

/// Enters an executor that submits `count` empty jobs, keeps every handle and waits for all of
/// them, as often as needed for `jobsPerRound`.
template <class Executor>
void EnterEmptyJobs(Row& row, const char* name, Executor& executor, std::size_t count,
                    std::size_t jobsPerRound) {
    std::atomic<std::size_t> runs{0};
    SubmitAndWait(executor, count, Empty{&runs});
    Require(runs == count, name);

    const std::size_t repetitions = std::max<std::size_t>(jobsPerRound / count, 1);
    EnterExecutor<Executor>(row, name, [&executor, count, repetitions] {
        const Stopwatch watch;
        for (std::size_t repetition = 0; repetition != repetitions; ++repetition)
            SubmitAndWait(executor, count, Empty{});
        return watch.NanosecondsPer(count * repetitions);
    });
}

double EmptyJobsHeldBack(std::size_t count, std::size_t repetitions) {
    double nanoseconds = 0;
    for (std::size_t repetition = 0; repetition != repetitions; ++repetition) {
        Blockers blockers;
        const Stopwatch watch;
        std::vector<CJobTicket> tickets;
        tickets.reserve(count);
        for (std::size_t i = 0; i != count; ++i)
            tickets.push_back(jobQueue->Queue(Empty{}));
        blockers.Release();
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
        tickets.clear();
        nanoseconds += watch.Nanoseconds();
    }
    return nanoseconds / static_cast<double>(count * repetitions);
}

} // namespace

void EmptyJobs() {
    // Each peer with as many jobs as it gets done in a good time.
    constexpr std::size_t jobs = 100'000;
    constexpr std::size_t platformJobs = 20'000;
    constexpr std::size_t asioJobs = 2'000;
    constexpr std::size_t asyncJobs = 200;
    KqExecutor executor;
    PlatformWork work;
    Counted<PlatformCallbacks> callbacks;
    Counted<AsioPosts> posts;
    AsioFutures futures;
    StdAsync async;

    Row row("100,000 empty jobs, every handle kept and waited on", "ns/job");
    EnterEmptyJobs(row, kqName, executor, jobs, jobs);
    EnterEmptyJobs(row, workName, work, platformJobs, platformJobs);
    EnterEmptyJobs(row, callbackName, callbacks, platformJobs, platformJobs);
    EnterEmptyJobs(row, asioPostName, posts, asioJobs, asioJobs);
    EnterEmptyJobs(row, asioFutureName, futures, asioJobs, asioJobs);
#if defined(KQ_BENCH_LIBTHREADPOOL)
    LibThreadPool pool;
    EnterEmptyJobs(row, libThreadPoolName, pool, platformJobs, platformJobs);
#endif
    EnterEmptyJobs(row, asyncName, async, asyncJobs, asyncJobs);
    row.AimAtMost(320);
    row.AimAtMostTimes(0.2);
    Measure({&row});
    row.Report();
}

void Growth() {
    constexpr std::size_t least = 1'000;
    constexpr std::size_t most = 1'000'000;
    KqExecutor executor;
    Row row("1,000 empty jobs, and 1,000,000", "ns/job");
    EnterEmptyJobs(row, "kq, 1,000", executor, least, most / 4);
    EnterEmptyJobs(row, "kq, 1,000,000", executor, most, most);
    Row heldBack("1,000 empty jobs, and 1,000,000, all pending at once", "ns/job");
    heldBack.Enter("kq, 1,000 pending", [] { return EmptyJobsHeldBack(least, 200); });
    heldBack.Enter("kq, 1,000,000 pending", [] { return EmptyJobsHeldBack(most, 1); });
    Measure({&row, &heldBack}, 9);
    row.Report();
    heldBack.Report();
    constexpr double bound = 1.15;
    ReportFigure("Growth of a job's cost from 1,000 to 1,000,000", "times",
                 Ratio(row.CostOf(1), row.CostOf(0)), bound);
    ReportFigure("Growth of the same, all pending at once", "times",
                 Ratio(heldBack.CostOf(1), heldBack.CostOf(0)), bound);
}

} // namespace bench
