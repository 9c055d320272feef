// Holds one value of each kind that the views for debuggers know, and waits for its input, while a
// debugger looks at them.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/progress/progress_signaler.h>
#include <kq/shared_ref.h>

#include "concurrency/job_state.h"

#include <cstdio>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using namespace kq::concurrency;
namespace progress = kq::progress;

struct Values {
    CJobTicket none;
    CJobTicket pending{std::make_shared<CJobState>()};
    CJobTicket running;
    CJobTicket done;
    CJobTicket failed;
    CJobTicket removed;
    kq::shared_ref<int, std::shared_ptr> reference{new int(42)};
    std::unique_ptr<progress::IProgressRoot> work =
        progress::Create(L"Copying", true, true, 0.25, 0, {});
    progress::ProgressState begun = progress::CreateSignaler(*work)->GetState();
    progress::ProgressState state;
};

} // namespace

// By its name a debugger finds it, wherever the threads stand. Volatile, or it would be left out.
Values* volatile values = nullptr;

// NOLINTNEXTLINE(bugprone-exception-escape): then the test fails, and says so
int main() {
    Values held;
    values = &held;
    std::promise<void> end;
    {
        CJobQueue queue(std::make_shared<CThreadPool>(2), 1);
        held.done = queue.Queue([] {});
        held.failed = queue.Queue([] { throw std::runtime_error("disk full"); });
        held.removed = queue.Queue([] {}, dependsOn(held.failed));
        std::optional<std::string> error;
        for (const CJobTicket* ticket : {&held.done, &held.failed, &held.removed})
            ticket->Wait(error);
        std::promise<void> begun;
        held.running = queue.Queue([&, ready = end.get_future().share()] {
            begun.set_value();
            ready.wait();
        });
        begun.get_future().wait();

        held.work->SetText(L"letters.txt");
        held.work->Add(0.25);
        held.state = progress::CreateSignaler(*held.work)->GetState();

        std::puts("ready");
        std::fflush(stdout);
        std::getchar();
        end.set_value();
    }
    return 0;
}
