// Sleeping to the millisecond.
#pragma once

#include <kq/export.h>

#include <memory>

namespace utl {

class CPreciseSleeperImpl;

/// Sleeps with a resolution of 1 ms, by a one-shot multimedia timer, where the system's ordinary
/// sleep ends at its next coarse tick.
///
/// One sleeper may be used on several threads at once; each sleeps its own time.
///
/// In the namespace `utl`, not in `kq`.
class CPreciseSleeper {
public:
    /// Throws `std::bad_alloc`.
    KQ_API CPreciseSleeper();
    KQ_API ~CPreciseSleeper();
    CPreciseSleeper(const CPreciseSleeper&) = delete;
    CPreciseSleeper& operator=(const CPreciseSleeper&) = delete;

    /// Blocks the calling thread for `milliseconds`, any number, and returns true; for 0 at once.
    /// Returns false when the system had no event or no timer for it; it has then not slept to the
    /// end, and as a rule not at all. The system's timer resolution is raised to 1 ms during the
    /// call only.
    KQ_API bool SleepPrecise(unsigned int milliseconds) const noexcept;

private:
    std::unique_ptr<CPreciseSleeperImpl> impl_;
};

} // namespace utl
