// The priority of the calling thread, for a scope.
#pragma once

#include <kq/export.h>

#include <memory>

namespace thread {

class CPriorityImpl;

/// Gives the calling thread another priority for a scope:
///
///     const thread::CPriority quietly(thread::CPriority::Lowest);
///
/// Acts on the calling thread only: create and destroy it on the same thread, otherwise the thread
/// that destroys it gets the priority that the other one had. Scopes of one thread are nested. A
/// priority that the system refuses is ignored.
///
/// In the global namespace `thread`, not in `kq::thread`.
class CPriority {
public:
    /// The levels, each with the system's priority that it stands for.
    enum definition : int {
        TimeCritical = 0, ///< 15, `THREAD_PRIORITY_TIME_CRITICAL`
        Highest = 1,      ///< 2, `THREAD_PRIORITY_HIGHEST`
        AboveNormal = 2,  ///< 1, `THREAD_PRIORITY_ABOVE_NORMAL`
        Normal = 3,       ///< 0, `THREAD_PRIORITY_NORMAL`
        BelowNormal = 4,  ///< -1, `THREAD_PRIORITY_BELOW_NORMAL`
        Lowest = 5,       ///< -2, `THREAD_PRIORITY_LOWEST`
        Idle = 6          ///< -15, `THREAD_PRIORITY_IDLE`
    };

    /// Remembers the calling thread's priority and sets that of `level`; a value outside the
    /// enumeration sets the normal priority. Throws `std::bad_alloc`, and then changes nothing.
    KQ_API explicit CPriority(definition level);
    /// Sets the remembered priority again, on the thread that runs the destructor.
    KQ_API ~CPriority();
    CPriority(const CPriority&) = delete;
    CPriority& operator=(const CPriority&) = delete;

    /// The level of the calling thread's priority; `Normal` when the priority is none of those
    /// above.
    KQ_API static definition Current();

private:
    std::unique_ptr<CPriorityImpl> impl_;
};

} // namespace thread
