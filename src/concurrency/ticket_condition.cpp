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

// Takes the tree apart that only this object holds: brings the left branches up one by one, as long
// as there are any, and goes on with the right one.
Conjunction::~Conjunction() {
    for (;;) {
        if (Conjunction* const below = SoleConjunction(left_)) {
            std::shared_ptr<CJobTermsImpl> node = std::move(left_);
            left_ = std::move(below->left_);
            below->left_ = std::move(below->right_);
            below->right_ = std::move(right_);
            right_ = std::move(node);
        } else if (Conjunction* const next = SoleConjunction(right_)) {
            const std::shared_ptr<CJobTermsImpl> node = std::move(right_);
            left_ = std::move(next->left_);
            right_ = std::move(next->right_);
        } else {
            return;
        }
    }
}

Conjunction* Conjunction::SoleConjunction(const std::shared_ptr<CJobTermsImpl>& terms) noexcept {
    if (terms.use_count() != 1)
        return nullptr;
    // The count is read without any order, and whoever let go just now may have read these terms
    // before. To take a reference is to come after that.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is the point
    const std::shared_ptr<CJobTermsImpl> afterTheOthers = terms;
    return afterTheOthers->condition.target<Conjunction>();
}

ConditionParts Conjunction::Parts() const {
    ConditionParts parts;
    boost::container::small_vector<const CJobTermsImpl*, 8> ahead{right_.get(), left_.get()};
    while (!ahead.empty()) {
        const std::function<StartInfo()>& condition = ahead.back()->condition;
        ahead.pop_back();
        if (const auto* const both = condition.target<Conjunction>()) {
            ahead.push_back(both->right_.get());
            ahead.push_back(both->left_.get());
        } else {
            parts.push_back(&condition);
        }
    }
    return parts;
}

StartInfo Conjunction::operator()() const {
    StartInfo both = StartInfo::Start;
    for (const std::function<StartInfo()>* part : Parts()) {
        const StartInfo answer = (*part)();
        if (answer == StartInfo::Drop)
            both = StartInfo::Drop;
        else if (answer != StartInfo::Start && both == StartInfo::Start)
            both = StartInfo::Postpone;
    }
    return both;
}

} // namespace kq::concurrency
