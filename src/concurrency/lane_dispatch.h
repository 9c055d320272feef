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

/// How a dispatcher that polls in vain rests between its passes.
class LaneCore::PausePlan {
public:
    unsigned int passes = 0;
    std::optional<PollBell::Listener> bell;
    std::optional<thread::FineTimerResolution> resolution;
};

} // namespace kq::concurrency
