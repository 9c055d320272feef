#include "concurrency/timed_job_scheduler.h"

#include <atomic>
#include <memory>

namespace kq::concurrency {

namespace {

// Owning, but plain: nothing of it is destroyed at process exit.
std::atomic<ITimedJobScheduler*> scheduler{nullptr};

void Replace(std::unique_ptr<ITimedJobScheduler> replacement) {
    const std::unique_ptr<ITimedJobScheduler> previous(scheduler.exchange(replacement.release()));
}

} // namespace

ITimedJobScheduler::~ITimedJobScheduler() = default;

void StartupJobScheduler() { Replace(std::make_unique<TimedJobScheduler>()); }

void ShutdownJobScheduler() { Replace(nullptr); }

ITimedJobScheduler& GetTimedJobScheduler() { return *scheduler.load(std::memory_order_acquire); }

bool HasTimedJobScheduler() noexcept {
    return scheduler.load(std::memory_order_acquire) != nullptr;
}

} // namespace kq::concurrency
