// Conditions that only look at tickets.
#pragma once

#include <kq/concurrency/job_terms.h>

#include "thread/recycling.h"

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace kq::concurrency {

class CJobState;

/// The condition of `after` and `dependsOn`. It can be asked like any other condition; a queue
/// recognises it, follows the tickets with a `TicketCursor` and never has to ask.
struct TicketCondition : thread::RecycledByNew<TicketCondition> {
    enum class Requires {
        Finished, ///< every job has finished, whatever its outcome
        Done,     ///< every job is done; dropped otherwise
    };

    TicketCondition(Requires theWhat, CJobTicket theTicket) noexcept
        : what(theWhat), ticket(std::move(theTicket)) {}
    TicketCondition(Requires theWhat, const std::vector<CJobTicket>& theTickets)
        : what(theWhat), list(std::make_shared<const std::vector<CJobTicket>>(theTickets)) {}

    StartInfo operator()() const;

    std::size_t Count() const noexcept { return list != nullptr ? list->size() : 1; }
    const CJobTicket& operator[](std::size_t index) const noexcept {
        return list != nullptr ? (*list)[index] : ticket;
    }

    Requires what;
    /// The only ticket, if there is no list.
    CJobTicket ticket;
    std::shared_ptr<const std::vector<CJobTicket>> list;
};

/// Walks the tickets of one condition, each once, in the order of the list: the first one that does
/// not satisfy it decides.
class TicketCursor {
public:
    explicit TicketCursor(TicketCondition condition) noexcept : condition_(std::move(condition)) {}

    /// `Start` when every ticket satisfies the condition, `Drop` when the first that does not never
    /// will, `Postpone` when it is unfinished: `Current()` is then the job to wait for.
    StartInfo Advance() noexcept;

    CJobState& Current() const noexcept { return *condition_[next_].State(); }

private:
    TicketCondition condition_;
    std::size_t next_ = 0;
};

/// Conditions; few as a rule, and then not on the heap.
using ConditionParts = boost::container::small_vector<const std::function<StartInfo()>*, 8>;

/// The condition of terms that were combined with `&`, both of which have one. Terms that were
/// folded together one by one are as deep as there are of them, so nothing here is recursive.
class Conjunction : public thread::RecycledByNew<Conjunction> {
public:
    Conjunction(std::shared_ptr<CJobTermsImpl> left, std::shared_ptr<CJobTermsImpl> right) noexcept
        : left_(std::move(left)), right_(std::move(right)) {}
    Conjunction(const Conjunction&) = default;
    Conjunction& operator=(const Conjunction&) = delete;
    ~Conjunction();

    /// The conditions that it is made of and that are no conjunctions, from left to right.
    ConditionParts Parts() const;

    StartInfo operator()() const;

private:
    static Conjunction* SoleConjunction(const std::shared_ptr<CJobTermsImpl>& terms) noexcept;

    std::shared_ptr<CJobTermsImpl> left_;
    std::shared_ptr<CJobTermsImpl> right_;
};

} // namespace kq::concurrency
