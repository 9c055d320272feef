#include "ui_update.h"

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/timed_job_scheduler.h>
#include <kq/error/error_reporter.h>

#include <chrono>
#include <utility>

namespace duplicate_finder {

using namespace kq::concurrency;

UiUpdate::UiUpdate(std::function<void()> update) : update_(std::move(update)) {}

void UiUpdate::Request() {
    if (isRequested_.exchange(true))
        return;
    constexpr std::chrono::milliseconds delay{100};
    const auto queueUpdate = [self = shared_from_this()](const TimedJobTicket&) {
        // Not there any more when the program is ending: then there is no window either.
        if (const auto queue = jobQueue.GetShared())
            queue->Queue([self] { self->Run(); }, inUIAsync);
    };
    try {
        GetTimedJobScheduler().Register(queueUpdate, delay, false);
    } catch (...) {
        isRequested_ = false; // the next one tries again
        throw;
    }
}

void UiUpdate::Run() {
    // Before the look at what is new: what comes during it asks again.
    isRequested_ = false;
    if (!update_)
        return;
    try {
        update_();
    } catch (...) {
        // Nobody asks the ticket of this job.
        kq::error::errorReporter->ReportCurrentException();
    }
}

} // namespace duplicate_finder
