#include "concurrency/empty_job.h"
#include "concurrency/holds.h"
#include "concurrency/rows.h"
#include "process_cost.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <algorithm>
#include <random>
#include <vector>

namespace bench {

using kq::concurrency::CJobTicket;
using kq::concurrency::jobQueue;

namespace {

enum class Order { OfSubmission, Random };

double RemoveAll(Order order, std::size_t count, std::size_t repetitions) {
    double nanoseconds = 0;
    for (std::size_t repetition = 0; repetition != repetitions; ++repetition) {
        Blockers blockers;
        std::vector<CJobTicket> tickets;
        tickets.reserve(count);
        for (std::size_t i = 0; i != count; ++i)
            tickets.push_back(jobQueue->Queue(Empty{}));
        if (order == Order::Random)
            std::shuffle(tickets.begin(), tickets.end(), std::mt19937(1));
        std::size_t removed = 0;
        const Stopwatch watch;
        for (const CJobTicket& ticket : tickets)
            removed += jobQueue->Remove(ticket) ? 1 : 0;
        nanoseconds += watch.Nanoseconds();
        Require(removed == count, "a pending job can be removed");
    }
    return nanoseconds / static_cast<double>(count * repetitions);
}

} // namespace

void Removal() {
    Row row("Remove of pending jobs", "ns/job");
    row.Enter("kq, 1,000 pending", [] { return RemoveAll(Order::OfSubmission, 1'000, 100); });
    row.Enter("kq, 100,000 pending", [] { return RemoveAll(Order::OfSubmission, 100'000, 1); });
    row.Enter("kq, 1,000 pending, random order",
              [] { return RemoveAll(Order::Random, 1'000, 100); });
    row.Enter("kq, 100,000 pending, random order",
              [] { return RemoveAll(Order::Random, 100'000, 1); });
    Measure({&row});
    row.Report();
}

void PendingJobMemory() {
    constexpr std::size_t count = 200'000;
    Blockers blockers;
    std::vector<CJobTicket> tickets(count);
    const double before = MemoryInUse();
    for (CJobTicket& ticket : tickets)
        ticket = jobQueue->Queue(Empty{});
    Series bytes;
    bytes.Add((MemoryInUse() - before) / count);
    ReportFigure("Memory of a pending job, with ticket", "bytes", bytes, 256);
}

} // namespace bench
