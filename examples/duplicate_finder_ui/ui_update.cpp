#include "ui_update.h"

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include <chrono>
#include <utility>

namespace duplicate_finder {

using namespace kq::concurrency;

UiUpdate::UiUpdate(std::function<void()> update) : update_(std::move(update)) {}

void UiUpdate::Request() {
    if (isRequested_.exchange(true))
        return;
    constexpr std::chrono::milliseconds delay{50};
    const auto queueUpdate = [self = shared_from_this()](const TimedJobTicket&) {
        // Not there any more when the program is ending: then there is no window either.
        if (const auto queue = jobQueue.GetShared())
            queue->Queue([self] { self->Run(); }, inUIAsync);
    };
    GetTimedJobScheduler().Register(queueUpdate, delay, false);
}

void UiUpdate::Run() {
    // Before the look at what is new: what comes during it asks again.
    isRequested_ = false;
    if (update_)
        update_();
}

} // namespace duplicate_finder
