#include "concurrency/rows.h"
#include "event.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <kq/concurrency/ui_job_queue.h>

#include <windows.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t submitters = 4;

/// Has `submitters` threads call `submit` `jobsEach` times each, and this thread take messages
/// until all of the jobs have run. `ran` counts them, on this thread.
template <class Submit>
double FromManyThreads(std::size_t jobsEach, const std::size_t& ran, Submit submit) {
    Event gate;
    Countdown ready;
    ready.Begin(submitters);
    std::vector<std::thread> threads;
    threads.reserve(submitters);
    for (std::size_t i = 0; i != submitters; ++i)
        threads.emplace_back([&] {
            ready.CountOne();
            gate.Wait();
            for (std::size_t job = 0; job != jobsEach; ++job)
                submit();
        });
    ready.Wait();
    const Stopwatch watch;
    gate.Set();
    while (ran != submitters * jobsEach) {
        MSG message{};
        Require(GetMessageW(&message, nullptr, 0, 0) > 0, "a message");
        DispatchMessageW(&message);
    }
    const double cost = watch.NanosecondsPer(submitters * jobsEach);
    for (std::thread& thread : threads)
        thread.join();
    return cost;
}

/// A window that runs each closure that it is sent, as programs without a queue of their own do.
class PostedClosures {
public:
    PostedClosures()
        : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr)) {
        if (window_ == nullptr)
            throw std::runtime_error("CreateWindowExW failed");
        SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Run));
    }
    ~PostedClosures() { DestroyWindow(window_); }
    PostedClosures(const PostedClosures&) = delete;
    PostedClosures& operator=(const PostedClosures&) = delete;

    void Post(std::size_t& ran) {
        auto closure = std::make_unique<Closure>(Closure{&ran});
        if (PostMessageW(window_, runMessage, 0, reinterpret_cast<LPARAM>(closure.get())) == FALSE)
            throw std::runtime_error("PostMessageW failed");
        static_cast<void>(closure.release());
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): whoever gets the message frees it
    }

private:
    static constexpr UINT runMessage = WM_APP;

    struct Closure {
        std::size_t* ran;
    };

    static LRESULT CALLBACK Run(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message != runMessage)
            return DefWindowProcW(window, message, wParam, lParam);
        const std::unique_ptr<Closure> closure(reinterpret_cast<Closure*>(lParam));
        ++*closure->ran;
        return 0;
    }

    HWND window_;
};

} // namespace

void UIJobs() {
    constexpr std::size_t jobsEach = 25'000;
    // On Windows a thread's message queue refuses the 10,001st.
    constexpr std::size_t messagesEach = 2'000;
    kq::concurrency::CUIJobQueue queue;
    PostedClosures closures;
    Row row("100,000 UI jobs from 4 threads", "ns/job");
    row.Enter("kq CUIJobQueue", [&queue] {
        std::size_t ran = 0;
        return FromManyThreads(jobsEach, ran, [&] { queue.Queue([&ran] { ++ran; }); });
    });
    row.EnterPeer("PostMessage each, 8,000", [&closures] {
        std::size_t ran = 0;
        return FromManyThreads(messagesEach, ran, [&] { closures.Post(ran); });
    });
    row.AimAtMost(500);
    Measure({&row}, 9);
    row.Report();
}

} // namespace bench
