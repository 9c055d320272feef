#include "concurrency/gate.h"

#include <algorithm>
#include <utility>

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
    auto gate = thread::MakeRecycled<Gate>();
    if (!gate->AddClauses(terms->condition)) {
        gate->clauses.Clear();
        gate->condition = terms->condition;
    }
    return gate;
}

// Takes the terms apart into the ticket conditions whose conjunction they are. Returns false when
// they have an opaque part.
bool Gate::AddClauses(const std::function<StartInfo()>& terms) {
    if (const auto* const tickets = terms.target<TicketCondition>()) {
        clauses.Add(*tickets);
        return true;
    }
    const auto* const both = terms.target<Conjunction>();
    if (both == nullptr)
        return false;
    const ConditionParts parts = both->Parts();
    return std::all_of(parts.begin(), parts.end(), [this](const std::function<StartInfo()>* part) {
        const auto* const tickets = part->target<TicketCondition>();
        if (tickets != nullptr)
            clauses.Add(*tickets);
        return tickets != nullptr;
    });
}

StartInfo Gate::Ask() {
    if (condition)
        return condition();
    StartInfo both = StartInfo::Start;
    const bool mayStart = clauses.AllOf([&both](TicketClause& clause) {
        const StartInfo answer = clause.Ask();
        if (answer == StartInfo::Postpone)
            both = answer;
        return answer != StartInfo::Drop;
    });
    return mayStart ? both : StartInfo::Drop;
}

} // namespace kq::concurrency
