// What the dispatchers of a lane carry with them.
#pragma once

#include "concurrency/lane.h"
#include "concurrency/poll_bell.h"
#include "thread/timer_resolution.h"

#include <memory>
#include <optional>
#include <utility>

namespace kq::concurrency {

/// A dispatcher between the call of the pool and its first look. When the pool cannot make a thread
/// it keeps the loop and may run it much later, or never: the one who started it and the loop
/// itself settle under the lane's lock whether it still counts.
class LaneCore::DispatcherStart {
public:
    explicit DispatcherStart(std::shared_ptr<LaneCore> theLane) noexcept
        : lane(std::move(theLane)) {}

    const std::shared_ptr<LaneCore> lane;
    bool isCounted = true; ///< in the lane's startingCount_
};

/// A walk along the polled jobs that survives their removal: the lane's lock is free while a
/// condition is asked. Everything under that lock.
class LaneCore::PollCursor {
public:
    explicit PollCursor(LaneCore& lane) noexcept
        : next_(lane.polled_.First()), other_(lane.cursors_) {
        if (other_ != nullptr)
            other_->link_ = &other_;
        lane.cursors_ = this;
        link_ = &lane.cursors_;
    }
    ~PollCursor() {
        *link_ = other_;
        if (other_ != nullptr)
            other_->link_ = link_;
    }
    PollCursor(const PollCursor&) = delete;
    PollCursor& operator=(const PollCursor&) = delete;

    PollCursor* Other() const noexcept { return other_; }
    CQueueJobAdapter* Next() const noexcept { return next_; }
    void StepOver() noexcept { next_ = next_->next; }
    /// `job` is about to be unlinked.
    void Leave(const CQueueJobAdapter& job) noexcept {
        if (next_ == &job)
            next_ = job.next;
    }

private:
    CQueueJobAdapter* next_;
    PollCursor* other_;
    PollCursor** link_ = nullptr;
};

/// How a dispatcher that polls in vain rests between its passes.
class LaneCore::PausePlan {
public:
    unsigned int passes = 0;
    std::optional<PollBell::Listener> bell;
    std::optional<thread::FineTimerResolution> resolution;
};

} // namespace kq::concurrency
