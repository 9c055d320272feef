#include "concurrency/ticket_condition.h"

#include "concurrency/job_state.h"

namespace kq::concurrency {

StartInfo TicketCondition::operator()() const { return TicketCursor(*this).Advance(); }

StartInfo TicketCursor::Advance() noexcept {
    for (; next_ != condition_.Count(); ++next_) {
        if (!condition_[next_].State())
            continue;
        const JobStatus status = Current().Status();
        if (status == JobStatus::Pending || status == JobStatus::Running)
            return StartInfo::Postpone;
        if (condition_.what == TicketCondition::Requires::Done && status != JobStatus::Done)
            return StartInfo::Drop;
    }
    return StartInfo::Start;
}

StartInfo Conjunction::operator()() const {
    const StartInfo first = left->condition();
    const StartInfo second = right->condition();
    if (first == StartInfo::Drop || second == StartInfo::Drop)
        return StartInfo::Drop;
    if (first != StartInfo::Start || second != StartInfo::Start)
        return StartInfo::Postpone;
    return StartInfo::Start;
}

} // namespace kq::concurrency
