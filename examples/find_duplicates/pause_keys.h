// Keys that suspend and resume the work.
#pragma once

#include <kq/concurrency/timed_job_scheduler.h>
#include <kq/progress/progress_signaler.h>

#include <memory>

namespace find_duplicates {

/// While it lives, P at the standard input suspends the work and R resumes it. Keys that were typed
/// before count from the beginning.
class PauseKeys {
public:
    explicit PauseKeys(const std::shared_ptr<kq::progress::IProgressSignaler>& work);
    ~PauseKeys();
    PauseKeys(const PauseKeys&) = delete;
    PauseKeys& operator=(const PauseKeys&) = delete;

private:
    kq::concurrency::TimedJobTicket polling_;
};

} // namespace find_duplicates
