#include "concurrency/ticket_condition.h"

#include "concurrency/job_state.h"

namespace kq::concurrency {

StartInfo TicketCondition::operator()() const { return TicketCursor(*this).Advance(); }

StartInfo TicketCursor::Advance() noexcept {
    const std::vector<CJobTicket>& tickets = *condition_.tickets;
    for (; next_ != tickets.size(); ++next_) {
        if (!tickets[next_].State())
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

bool SplitIntoTicketConditions(const std::function<StartInfo()>& condition,
                               std::vector<TicketCondition>& parts) {
    if (const auto* const tickets = condition.target<TicketCondition>()) {
        parts.push_back(*tickets);
        return true;
    }
    if (const auto* const both = condition.target<Conjunction>())
        return SplitIntoTicketConditions(both->left->condition, parts) &&
               SplitIntoTicketConditions(both->right->condition, parts);
    return false;
}

} // namespace kq::concurrency
