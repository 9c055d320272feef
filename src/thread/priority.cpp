#include <kq/thread/priority.h>

#include <windows.h>

namespace thread {

namespace {

struct LevelPriority {
    CPriority::definition level;
    int priority;
};

constexpr LevelPriority levels[] = {{CPriority::TimeCritical, THREAD_PRIORITY_TIME_CRITICAL},
                                    {CPriority::Highest, THREAD_PRIORITY_HIGHEST},
                                    {CPriority::AboveNormal, THREAD_PRIORITY_ABOVE_NORMAL},
                                    {CPriority::Normal, THREAD_PRIORITY_NORMAL},
                                    {CPriority::BelowNormal, THREAD_PRIORITY_BELOW_NORMAL},
                                    {CPriority::Lowest, THREAD_PRIORITY_LOWEST},
                                    {CPriority::Idle, THREAD_PRIORITY_IDLE}};

int PriorityOf(CPriority::definition level) noexcept {
    for (const LevelPriority& entry : levels)
        if (entry.level == level)
            return entry.priority;
    return THREAD_PRIORITY_NORMAL;
}

CPriority::definition LevelOf(int priority) noexcept {
    for (const LevelPriority& entry : levels)
        if (entry.priority == priority)
            return entry.level;
    return CPriority::Normal;
}

} // namespace

class CPriorityImpl {
public:
    // A pseudo-handle: it means the calling thread wherever it is used.
    HANDLE thread = GetCurrentThread();
    int previous = GetThreadPriority(thread);
};

CPriority::CPriority(definition level) : impl_(std::make_unique<CPriorityImpl>()) {
    SetThreadPriority(impl_->thread, PriorityOf(level));
}

CPriority::~CPriority() { SetThreadPriority(impl_->thread, impl_->previous); }

CPriority::definition CPriority::Current() {
    return LevelOf(GetThreadPriority(GetCurrentThread()));
}

} // namespace thread
