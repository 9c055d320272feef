#include "concurrency/empty_job.h"
#include "concurrency/executors.h"
#include "concurrency/holds.h"
#include "concurrency/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <utility>
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
    row.Enter(name, [&executor, count, repetitions] {
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
    // Every executor at the sizes that it can stand, and small ones as often as it can stand.
    constexpr std::size_t jobsPerRound = 100'000;
    constexpr std::size_t platformJobsPerRound = 20'000;
    constexpr std::size_t asioJobsPerRound = 5'000;
    constexpr std::size_t platformLimit = 100'000;
    constexpr std::size_t asioLimit = 10'000;
    constexpr std::size_t asyncLimit = 1'000;
    KqExecutor executor;
    PlatformWork work;
    Counted<PlatformCallbacks> callbacks;
    Counted<AsioPosts> posts;
    AsioFutures futures;
    StdAsync async;

    constexpr std::pair<std::size_t, const char*> sizes[] = {
        {1'000, "1,000 empty jobs, one submitter, every handle kept and waited on"},
        {10'000, "10,000 of them"},
        {100'000, "100,000 of them"},
        {1'000'000, "1,000,000 of them"},
    };
    std::deque<Row> rows;
    for (const auto& [count, title] : sizes) {
        Row& row = rows.emplace_back(title, "ns/job");
        EnterEmptyJobs(row, kqName, executor, count, jobsPerRound);
        if (count <= platformLimit) {
            EnterEmptyJobs(row, workName, work, count, platformJobsPerRound);
            EnterEmptyJobs(row, callbackName, callbacks, count, platformJobsPerRound);
        }
        if (count <= asioLimit) {
            EnterEmptyJobs(row, asioPostName, posts, count, asioJobsPerRound);
            EnterEmptyJobs(row, asioFutureName, futures, count, asioJobsPerRound);
        }
        if (count <= asyncLimit)
            EnterEmptyJobs(row, asyncName, async, count, count);
    }
    Row& heldBack =
        rows.emplace_back("The same while the pool is held back until all are pending", "ns/job");
    heldBack.Enter("kq, 1,000 pending", [] { return EmptyJobsHeldBack(1'000, 100); });
    heldBack.Enter("kq, 1,000,000 pending", [] { return EmptyJobsHeldBack(1'000'000, 1); });

    std::vector<Row*> all;
    all.reserve(rows.size());
    for (Row& row : rows)
        all.push_back(&row);
    Measure(all);
    for (const Row& row : rows)
        row.Print();
    PrintFigure("growth from 1,000 to 1,000,000 jobs, kq",
                Ratio(rows[3].CostOf(0), rows[0].CostOf(0)).Median(), "at most 1.3");
    PrintFigure("growth from 1,000 to 1,000,000 pending, kq",
                Ratio(heldBack.CostOf(1), heldBack.CostOf(0)).Median(), "at most 1.3");
}

} // namespace bench
