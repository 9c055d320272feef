#include "concurrency/empty_job.h"
#include "concurrency/holds.h"
#include "concurrency/rows.h"
#include "process_cost.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace bench {

using kq::concurrency::after;
using kq::concurrency::CJobTicket;
using kq::concurrency::dependsOn;
using kq::concurrency::jobQueue;

namespace {

double ChainOfAfter(std::size_t links) {
    struct Progress {
        std::size_t last = 0; // each job runs after the one before it, so nothing more is needed
        bool isInOrder = true;
    };
    Progress progress;
    const Stopwatch watch;
    CJobTicket ticket;
    for (std::size_t i = 1; i <= links; ++i)
        ticket = jobQueue->Queue(
            [&progress, i] {
                progress.isInOrder = progress.isInOrder && progress.last + 1 == i;
                progress.last = i;
            },
            after(ticket));
    ticket.Wait();
    const double cost = watch.NanosecondsPer(links);
    Require(progress.isInOrder && progress.last == links, "a chain runs in its order");
    return cost;
}

double Fan(std::size_t edges) {
    const Stopwatch watch;
    std::vector<CJobTicket> tickets;
    tickets.reserve(edges);
    for (std::size_t i = 0; i != edges; ++i)
        tickets.push_back(jobQueue->Queue(Empty{}));
    bool hasRun = false;
    jobQueue->Queue([&hasRun] { hasRun = true; }, dependsOn(tickets)).Wait();
    const double cost = watch.NanosecondsPer(edges);
    Require(hasRun, "a job that depends on others runs");
    return cost;
}

class Waiters {
public:
    explicit Waiters(std::size_t count) {
        tickets_.reserve(count);
        for (std::size_t i = 0; i != count; ++i)
            tickets_.push_back(jobQueue->Queue(Empty{&runs_}, after(obstacle_.Ticket())));
    }
    ~Waiters() { Finish(); }
    Waiters(const Waiters&) = delete;
    Waiters& operator=(const Waiters&) = delete;

    std::size_t Runs() const { return runs_; }
    void Finish() {
        obstacle_.Release();
        for (const CJobTicket& ticket : tickets_)
            ticket.Wait();
    }

private:
    std::atomic<std::size_t> runs_{0};
    Obstacle obstacle_;
    std::vector<CJobTicket> tickets_;
};

} // namespace

void Dependencies() {
    Row chain("Chain of 100,000 after links, submit and run", "ns/edge");
    chain.Enter("kq jobQueue", [] { return ChainOfAfter(100'000); });
    chain.Enter("kq jobQueue, chain of 1,000", [] {
        constexpr int repetitions = 100;
        double cost = 0;
        for (int repetition = 0; repetition != repetitions; ++repetition)
            cost += ChainOfAfter(1'000) / repetitions;
        return cost;
    });
    chain.AimAtMost(300);
    Row fan("10,000 jobs into one dependsOn", "ns/edge");
    fan.Enter("kq jobQueue", [] {
        constexpr int repetitions = 10;
        double cost = 0;
        for (int repetition = 0; repetition != repetitions; ++repetition)
            cost += Fan(10'000) / repetitions;
        return cost;
    });
    fan.AimAtMost(250);
    Measure({&chain, &fan}, 15);
    chain.Report();
    fan.Report();
}

void IdleWaiters() {
    constexpr std::size_t waiting = 100'000;
    constexpr std::size_t jobs = 100'000;
    const auto run = [] {
        const Stopwatch watch;
        std::vector<CJobTicket> tickets;
        tickets.reserve(jobs);
        for (std::size_t i = 0; i != jobs; ++i)
            tickets.push_back(jobQueue->Queue(Empty{}));
        for (const CJobTicket& ticket : tickets)
            ticket.Wait();
        return watch.NanosecondsPer(jobs);
    };
    Row row("100,000 empty jobs while others wait on one unfinished ticket", "ns/job");
    row.Enter("kq, none waits", run);
    row.Enter("kq, 100,000 wait", [&run] {
        Waiters waiters(waiting);
        const double cost = run();
        Require(waiters.Runs() == 0, "a job waits for its ticket");
        waiters.Finish();
        Require(waiters.Runs() == waiting, "every waiting job runs in the end");
        return cost;
    });
    Measure({&row}, 15);
    row.Report();
    ReportFigure("The slow-down by 100,000 that wait", "times", Ratio(row.CostOf(1), row.CostOf(0)),
                 1.03);

    constexpr int windows = 3;
    constexpr auto window = std::chrono::seconds(2);
    const Waiters waiters(waiting);
    Series percent;
    for (int i = 0; i != windows; ++i) {
        const double before = ProcessorSeconds();
        std::this_thread::sleep_for(window);
        percent.Add((ProcessorSeconds() - before) / std::chrono::duration<double>(window).count() *
                    100);
    }
    ReportFigure("Processor use while 100,000 jobs wait", "% of a core", percent, 0.1);
}

} // namespace bench
