#include "concurrency/gate.h"

#include <vector>

namespace kq::concurrency {

StartInfo TicketClause::Advance(const std::shared_ptr<Gate>& gate) noexcept {
    isHung_ = false;
    for (;;) {
        const StartInfo answer = cursor_.Advance();
        if (answer != StartInfo::Postpone)
            return answer;
        gate_ = gate;
        isHung_ = true;
        if (cursor_.Current().AddDependent(*this))
            return StartInfo::Postpone;
        // It finished between the two steps.
        isHung_ = false;
        gate_.reset();
    }
}

void TicketClause::Unhook() noexcept {
    if (isHung_ && cursor_.Current().RemoveDependent(*this))
        gate_.reset();
}

void TicketClause::OnFinished(FinishCascade& cascade) noexcept {
    const std::shared_ptr<Gate> gate = std::move(gate_);
    gate->keeper->OnTicketFinished(gate, *this, cascade);
}

std::shared_ptr<Gate> Gate::Make(const std::shared_ptr<CJobTermsImpl>& terms) {
    if (terms == nullptr || !terms->condition)
        return nullptr;
    std::vector<TicketCondition> parts;
    if (!SplitIntoTicketConditions(terms->condition, parts))
        return std::make_shared<Gate>(terms->condition);
    auto gate = std::make_shared<Gate>(std::function<StartInfo()>());
    for (TicketCondition& part : parts)
        gate->clauses.emplace_front(std::move(part));
    return gate;
}

StartInfo Gate::Ask() {
    if (condition)
        return condition();
    StartInfo both = StartInfo::Start;
    for (TicketClause& clause : clauses) {
        const StartInfo answer = clause.Ask();
        if (answer == StartInfo::Drop)
            return answer;
        if (answer == StartInfo::Postpone)
            both = answer;
    }
    return both;
}

} // namespace kq::concurrency
