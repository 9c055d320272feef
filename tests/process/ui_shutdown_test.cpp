// Shutdown() and Startup() with UI jobs.
#include <kq/kq.h>

#include <process/busy_pool.h>
#include <process/flag.h>
#include <process/scenario.h>
#include <process/services.h>
#include <support/ui_messages.h>
#include <support/ui_windows.h>
#include <support/window_refusal.h>

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

using namespace kq::concurrency;
using kq_test::DispatchUntil;
using kq_test::UIWindows;
using scenario::Close;

namespace {

bool IsFinished(const CJobTicket& ticket) {
    std::optional<std::string> error;
    return ticket.Wait(0, error);
}

std::shared_ptr<CJobTermsImpl> OnceShutdownHasBegun() {
    return condition(
        [] { return jobQueue.GetShared() != nullptr ? StartInfo::Postpone : StartInfo::Start; });
}

// A pool job that needs the UI thread after `Shutdown()` has begun to wait for it.
CJobTicket QueueJobThatNeedsTheUIThread(std::atomic<bool>& hasRun) {
    const Flag begun;
    CJobTicket ticket = jobQueue->Queue([begun, &hasRun, queue = jobQueue.GetShared()] {
        begun.Set();
        AwaitShutdown();
        queue->Queue([&hasRun] { hasRun = true; }, inUI).Wait();
        queue->Queue([] {}, inUIAsync & OnceShutdownHasBegun()).Wait();
    });
    begun.Wait();
    return ticket;
}

std::uint64_t ProcessorMilliseconds() {
    FILETIME created{}, ended{}, kernel{}, user{};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto units = [](const FILETIME& time) {
        return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
    };
    return (units(kernel) + units(user)) / 10'000;
}

} // namespace

SCENARIO(shutdown_runs_the_ui_jobs_that_were_queued) {
    int ran = 0;
    const CJobTicket first = jobQueue->Queue([&ran] { ++ran; }, inUIAsync);
    jobQueue->Queue([&ran] { ++ran; }, inUI & after(first));
    std::thread([&ran] { jobQueue->Queue([&ran] { ++ran; }, inUI); }).join();
    kq::Shutdown();
    CHECK(ran == 3);
    Close();
}

SCENARIO(shutdown_runs_the_ui_jobs_that_running_jobs_wait_for) {
    std::atomic<bool> hasRun{false};
    const CJobTicket ticket = QueueJobThatNeedsTheUIThread(hasRun);
    kq::Shutdown();
    CHECK(hasRun);
    CHECK(IsFinished(ticket));
    Close();
}

SCENARIO(shutdown_runs_the_ui_jobs_that_wait_for_running_jobs) {
    int ran = 0;
    const Flag begun;
    const CJobTicket running = jobQueue->Queue([begun] {
        begun.Set();
        AwaitShutdown();
    });
    begun.Wait();
    const CJobTicket ui = jobQueue->Queue([&ran] { ++ran; }, inUI & dependsOn(running));
    const CJobTicket pool = jobQueue->Queue([] {}, dependsOn(ui) & isBlocking);
    const CJobTicket last = jobQueue->Queue([&ran] { ++ran; }, inUIAsync & after(pool));
    kq::Shutdown();
    CHECK(ran == 2);
    for (const CJobTicket& ticket : {running, ui, pool, last})
        CHECK(IsFinished(ticket));
    Close();
}

SCENARIO(shutdown_runs_a_ui_job_whose_condition_is_met_in_the_end) {
    int ran = 0;
    std::atomic<bool> isOpen{false};
    const auto whenOpen = inUIAsync & condition([&isOpen] {
                              return isOpen ? StartInfo::Start : StartInfo::Postpone;
                          });
    const CJobTicket met = jobQueue->Queue([&ran] { ++ran; }, whenOpen);
    const CJobTicket behind = jobQueue->Queue([&ran] { ++ran; }, inUIAsync & dependsOn(met));
    const CJobTicket inTheEnd =
        jobQueue->Queue([&ran] { ++ran; }, inUIAsync & OnceShutdownHasBegun());
    kq::win32::PumpMessageQueue();
    CHECK(ran == 0);
    isOpen = true;
    kq::Shutdown();
    CHECK(ran == 3);
    Close();
}

SCENARIO(shutdown_removes_the_ui_jobs_that_cannot_start) {
    int ran = 0;
    const auto never = condition([] { return StartInfo::Postpone; });
    const CJobTicket waiting = jobQueue->Queue([&ran] { ++ran; }, inUI & never);
    const CJobTicket behind = jobQueue->Queue([&ran] { ++ran; }, inUI & after(waiting));
    const CJobTicket dependent = jobQueue->Queue([&ran] { ++ran; }, inUI & dependsOn(behind));
    std::vector<std::thread> waiters;
    for (const CJobTicket& ticket : {waiting, behind, dependent})
        waiters.emplace_back([ticket] { ticket.Wait(); });
    kq::Shutdown();
    for (std::thread& waiter : waiters)
        waiter.join();
    CHECK(ran == 0);
    Close();
}

// UI jobs never run then, and nobody may wait for them.
SCENARIO(shutdown_without_a_window_removes_the_ui_jobs) {
    kq::Shutdown();
    {
        const kq_test::WindowRefusal refused;
        kq::Startup();
    }
    CHECK(UIWindows().empty());
    std::atomic<bool> ranAfter{false};
    std::atomic<bool> ranDependent{false};
    const Flag begun;
    const CJobTicket running = jobQueue->Queue([begun, queue = jobQueue.GetShared()] {
        begun.Set();
        AwaitShutdown();
        queue->Queue([] {}, inUI).Wait();
    });
    begun.Wait();
    const CJobTicket ui = jobQueue->Queue([] {}, inUIAsync);
    const CJobTicket behind = jobQueue->Queue([&ranAfter] { ranAfter = true; }, after(ui));
    const CJobTicket dependent =
        jobQueue->Queue([&ranDependent] { ranDependent = true; }, dependsOn(ui) & isBlocking);
    kq::Shutdown();
    CHECK(ranAfter);
    CHECK(!ranDependent);
    for (const CJobTicket& ticket : {running, ui, behind, dependent})
        CHECK(IsFinished(ticket));
    Close();
}

SCENARIO(shutdown_inside_a_ui_job_runs_the_jobs_behind_it) {
    std::string order;
    std::atomic<bool> hasRun{false};
    const CJobTicket needsUI = QueueJobThatNeedsTheUIThread(hasRun);
    jobQueue->Queue(
        [&order] {
            kq::Shutdown();
            order += 's';
        },
        inUIAsync);
    const CJobTicket behind = jobQueue->Queue([&order] { order += 'b'; }, inUIAsync);
    const CJobTicket needsThat = jobQueue->Queue([] {}, after(behind));
    const CJobTicket last = jobQueue->Queue([&order] { order += 'l'; }, inUI & after(needsThat));
    kq::win32::PumpMessageQueue();
    CHECK(order == "bls");
    CHECK(hasRun);
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(shutdown_inside_a_ui_job_with_nothing_else_runs_the_jobs_behind_it) {
    std::string order;
    jobQueue->Queue(
        [&order] {
            kq::Shutdown();
            order += 's';
        },
        inUIAsync);
    jobQueue->Queue([&order] { order += 'b'; }, inUIAsync);
    kq::win32::PumpMessageQueue();
    CHECK(order == "bs");
    Close();
}

SCENARIO(ui_jobs_run_inside_a_message_loop_during_shutdown) {
    const Flag inLoop;
    std::atomic<bool> hasRun{false};
    jobQueue->Queue([inLoop, &hasRun, queue = jobQueue.GetShared()] {
        AwaitShutdown();
        queue->Queue(
            [inLoop, &hasRun] {
                inLoop.Set();
                DispatchUntil([&hasRun] { return hasRun.load(); });
            },
            inUI);
        inLoop.Wait();
        queue->Queue([&hasRun] { hasRun = true; }, inUI).Wait();
    });
    kq::Shutdown();
    CHECK(hasRun);
    Close();
}

SCENARIO(shutdown_leaves_a_quit_message_to_the_host) {
    std::atomic<bool> hasRun{false};
    QueueJobThatNeedsTheUIThread(hasRun);
    PostQuitMessage(7);
    kq::Shutdown();
    CHECK(hasRun);
    MSG message{};
    CHECK(GetMessageW(&message, nullptr, 0, 0) == FALSE);
    CHECK(message.wParam == 7);
    CHECK(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == FALSE);
    Close();
}

SCENARIO(a_message_loop_during_shutdown_ends_with_the_quit_message) {
    bool hasEnded = false;
    jobQueue->Queue([&hasEnded, queue = jobQueue.GetShared()] {
        AwaitShutdown();
        // As a message box does: it ends, and leaves the message to the next loop.
        queue
            ->Queue(
                [&hasEnded] {
                    MSG message{};
                    while (GetMessageW(&message, nullptr, 0, 0) > 0)
                        DispatchMessageW(&message);
                    PostQuitMessage(static_cast<int>(message.wParam));
                    hasEnded = true;
                },
                inUI)
            .Wait();
        queue->Queue([] {}, inUI).Wait();
    });
    PostQuitMessage(5);
    kq::Shutdown();
    CHECK(hasEnded);
    MSG message{};
    CHECK(GetMessageW(&message, nullptr, 0, 0) == FALSE);
    CHECK(message.wParam == 5);
    Close();
}

// What nobody takes from the message queue must not keep the wait awake.
SCENARIO(shutdown_costs_no_processor_time_while_it_waits) {
    constexpr DWORD milliseconds = 3'000;
    const Flag begun;
    jobQueue->Queue([begun] {
        begun.Set();
        AwaitShutdown();
        Sleep(milliseconds);
    });
    begun.Wait();
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    SetTimer(nullptr, 0, 10, nullptr);
    PostQuitMessage(0);
    const std::uint64_t before = ProcessorMilliseconds();
    kq::Shutdown();
    const std::uint64_t used = ProcessorMilliseconds() - before;
    CHECK(used < milliseconds / 10);
    Close();
}

SCENARIO(a_held_queue_refuses_ui_jobs_after_shutdown) {
    const std::shared_ptr<CJobQueue> held = jobQueue.GetShared();
    kq::Shutdown();
    const auto fails = [](auto action) {
        try {
            action();
            return false;
        } catch (const std::runtime_error& error) {
            return std::string(error.what()).find("Singleton instance of ") == 0;
        }
    };
    CHECK(fails([&] { held->Queue([] {}, inUI); }));
    CHECK(fails([&] { held->Queue([] {}, inUIAsync); }));
    CHECK(fails([&] { held->Remove(CJobTicket()); }));
    held->Queue([] {}, isBlocking).Wait();
    Close();
}

SCENARIO(the_window_of_the_library_goes_with_shutdown_and_comes_with_startup) {
    for (int round = 0; round != 100; ++round) {
        CHECK(UIWindows().size() == 1);
        kq::Shutdown();
        CHECK(UIWindows().empty());
        WNDCLASSW description{};
        CHECK(GetClassInfoW(GetModuleHandleW(nullptr), kq_test::uiWindowClass, &description) ==
              FALSE);
        kq::Startup();
        bool hasRun = false;
        jobQueue->Queue([&hasRun] { hasRun = true; }, inUIAsync);
        kq::win32::PumpMessageQueue();
        CHECK(hasRun);
    }
    Close();
}

SCENARIO(a_ui_queue_of_the_host_outlives_shutdown) {
    CUIJobQueue queue;
    int ran = 0;
    queue.Queue([&ran] { ++ran; }, inUIAsync);
    kq::Shutdown();
    CHECK(UIWindows().size() == 1);
    queue.Pump();
    CHECK(ran == 1);
    std::thread([&] { queue.Queue([&ran] { ++ran; }); }).join();
    queue.Pump();
    CHECK(ran == 2);
    Close();
}

SCENARIO(startup_is_refused_on_another_thread) {
    const auto isRefused = [] {
        bool refused = false;
        std::thread([&refused] {
            try {
                kq::Startup();
            } catch (const std::logic_error& error) {
                refused = typeid(error) == typeid(std::logic_error);
            }
        }).join();
        return refused;
    };
    const auto before = jobQueue.GetShared();
    CHECK(isRefused());
    CHECK(jobQueue.GetShared() == before);
    jobQueue->Queue([] {}).Wait();
    kq::Shutdown();
    CHECK(isRefused());
    CHECK(ServicesAreMissing());
    CHECK(UIWindows().empty());
    kq::Startup();
    CHECK(ServicesAreThere());
    Close();
}

SCENARIO(shutdown_while_threads_queue_ui_jobs_at_random) {
    std::mt19937 random(scenario::Seed());
    std::atomic<int> ran{0};
    const Countdown queuing(3);
    std::vector<std::thread> threads;
    for (int thread = 0; thread != 3; ++thread)
        threads.emplace_back([&, queuing, seed = random()] {
            std::mt19937 own(seed);
            bool hasArrived = false;
            std::vector<CJobTicket> tickets;
            const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared();
            try {
                // Pumps and Shutdown go on while there is work, so that has to end.
                for (int left = 1'000; left != 0; --left) {
                    const auto run = [&ran] { ++ran; };
                    switch (own() % 4) {
                        case 0:
                            tickets.push_back(queue->Queue(run, inUI));
                            break;
                        case 1:
                            tickets.push_back(
                                queue->Queue(run, inUIAsync & OnceShutdownHasBegun()));
                            break;
                        case 2:
                            tickets.push_back(queue->Queue(run, inUI & after(queue->Queue([] {}))));
                            break;
                        default:
                            tickets.push_back(
                                queue->Queue([] {}, after(queue->Queue(run, inUIAsync))));
                            break;
                    }
                    if (!hasArrived)
                        queuing.Arrive();
                    hasArrived = true;
                }
            } catch (const std::runtime_error&) {
                // The UI queue is gone.
            }
            for (const CJobTicket& ticket : tickets)
                ticket.Wait();
        });
    queuing.Wait();
    for (unsigned int pumps = random() % 50; pumps != 0; --pumps)
        kq::win32::PumpMessageQueue();
    kq::Shutdown();
    for (std::thread& thread : threads)
        thread.join();
    Close();
}
