// The scheduler behind the interface.
#pragma once

#include <kq/concurrency/timed_job_scheduler.h>

#include "concurrency/timed_jobs.h"
#include "thread/clock.h"

#include <memory>
#include <utility>

namespace kq::concurrency {

class TimedJobScheduler final : public ITimedJobScheduler {
public:
    explicit TimedJobScheduler(thread::Clock& clock = thread::SteadyClock())
        : jobs_(std::make_shared<TimedJobs>(clock)) {}
    ~TimedJobScheduler() override { jobs_->Close(); }

    TimedJobTicket Register(std::function<void(const TimedJobTicket&)> job,
                            std::chrono::milliseconds interval, bool repeat) override {
        // The callback may end this scheduler before the registration returns.
        const std::shared_ptr<TimedJobs> jobs = jobs_;
        return jobs->Register(std::move(job), interval, repeat);
    }
    bool Unregister(const TimedJobTicket& ticket) override {
        return ticket != nullptr && jobs_->Unregister(ticket->id);
    }
    bool IsIdle(const TimedJobTicket& ticket) override {
        return ticket != nullptr && jobs_->IsIdle(ticket->id);
    }

private:
    const std::shared_ptr<TimedJobs> jobs_;
};

} // namespace kq::concurrency
