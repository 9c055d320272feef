#include "concurrency/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <kq/concurrency/timed_job_scheduler.h>

#include <windows.h>

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

using kq::concurrency::GetTimedJobScheduler;
using kq::concurrency::TimedJobTicket;

/// Timers of the library. None is ever due.
class KqTimers {
public:
    using Timer = TimedJobTicket;

    static Timer Register() {
        return GetTimedJobScheduler().Register([](const TimedJobTicket&) {}, std::chrono::hours(1),
                                               true);
    }
    static void Unregister(const Timer& timer) {
        Require(GetTimedJobScheduler().Unregister(timer), "a timed job can be unregistered");
    }
};

/// `CreateThreadpoolTimer` and `SetThreadpoolTimer`.
class PlatformTimers {
public:
    using Timer = PTP_TIMER;

    static Timer Register() {
        constexpr long long hour = 36'000'000'000; // in units of 100 ns
        const Timer timer = CreateThreadpoolTimer(&Run, nullptr, nullptr);
        if (timer == nullptr)
            throw std::runtime_error("CreateThreadpoolTimer failed");
        LARGE_INTEGER due{};
        due.QuadPart = -hour;
        FILETIME time{static_cast<DWORD>(due.LowPart), static_cast<DWORD>(due.HighPart)};
        SetThreadpoolTimer(timer, &time, 3'600'000, 0);
        return timer;
    }
    static void Unregister(const Timer& timer) {
        SetThreadpoolTimer(timer, nullptr, 0, 0);
        CloseThreadpoolTimer(timer);
    }

private:
    static void CALLBACK Run(PTP_CALLBACK_INSTANCE /*instance*/, void* /*context*/,
                             PTP_TIMER /*timer*/) {}
};

/// What one more costs, registered and unregistered again.
struct Costs {
    Series add;
    Series remove;
};

/// Measures `costs` once, beside `others`.
template <class Timers>
void MeasureBeside(std::size_t others, Costs& costs) {
    constexpr std::size_t count = 500;
    std::vector<typename Timers::Timer> timers;
    timers.reserve(others + count);
    const auto registerUpTo = [&timers](std::size_t size) {
        while (timers.size() != size)
            timers.push_back(Timers::Register());
    };
    const auto unregisterDownTo = [&timers](std::size_t size) {
        for (; timers.size() != size; timers.pop_back())
            Timers::Unregister(timers.back());
    };
    registerUpTo(others);
    const Stopwatch registering;
    registerUpTo(others + count);
    costs.add.Add(registering.NanosecondsPer(count));
    const Stopwatch unregistering;
    unregisterDownTo(others);
    costs.remove.Add(unregistering.NanosecondsPer(count));
    unregisterDownTo(0);
}

void ReportBoth(const char* what, const Series& atFew, const Series& atMany,
                const Series& platform) {
    Row row(std::string(what) + " a timed job beside 10,000", "ns");
    row.EnterResult("kq scheduler", atMany);
    row.EnterResult("kq scheduler, beside 100", atFew);
    row.EnterPeerResult("SetThreadpoolTimer", platform);
    row.AimAtMost(1'000);
    row.Report();
    ReportFigure(std::string(what) + ": growth from 100 timed jobs to 10,000", "times",
                 Ratio(atMany, atFew), 1.3);
}

} // namespace

void TimedJobs() {
    constexpr std::size_t few = 100;
    constexpr std::size_t many = 10'000;
    constexpr int rounds = 25;
    // Keeps the scheduler's loop going, which would begin and end with the timed jobs otherwise.
    const KqTimers::Timer first = KqTimers::Register();
    Costs atFew;
    Costs atMany;
    Costs platform;
    for (int round = 0; round != rounds; ++round) {
        MeasureBeside<KqTimers>(few, atFew);
        MeasureBeside<KqTimers>(many, atMany);
        MeasureBeside<PlatformTimers>(many, platform);
    }
    KqTimers::Unregister(first);
    ReportBoth("Register", atFew.add, atMany.add, platform.add);
    ReportBoth("Unregister", atFew.remove, atMany.remove, platform.remove);
}

} // namespace bench
