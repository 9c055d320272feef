// Conditions that only look at tickets.
#pragma once

#include <kq/concurrency/job_terms.h>

#include <functional>
#include <memory>
#include <vector>

namespace kq::concurrency {

class CJobState;

/// The condition of `after` and `dependsOn`. It can be asked like any other condition; a queue
/// recognises it, follows the tickets with a `TicketCursor` and never has to ask.
struct TicketCondition {
    enum class Requires {
        Finished, ///< every job has finished, whatever its outcome
        Done,     ///< every job is done; dropped otherwise
    };

    Requires what;
    std::shared_ptr<const std::vector<CJobTicket>> tickets;

    StartInfo operator()() const;
};

/// Walks the tickets of one condition, each once, in the order of the list: the first one that does
/// not satisfy it decides.
class TicketCursor {
public:
    explicit TicketCursor(TicketCondition condition) noexcept : condition_(std::move(condition)) {}

    /// `Start` when every ticket satisfies the condition, `Drop` when the first that does not never
    /// will, `Postpone` when it is unfinished: `Current()` is then the job to wait for.
    StartInfo Advance() noexcept;

    CJobState& Current() const noexcept { return *(*condition_.tickets)[next_].State(); }

private:
    TicketCondition condition_;
    std::size_t next_ = 0;
};

/// The condition of terms that were combined with `&`, both of which have one.
struct Conjunction {
    std::shared_ptr<CJobTermsImpl> left;
    std::shared_ptr<CJobTermsImpl> right;

    StartInfo operator()() const;
};

/// Takes `condition` apart into the ticket conditions whose conjunction it is. Returns false when
/// it has an opaque part, which has to be polled.
bool SplitIntoTicketConditions(const std::function<StartInfo()>& condition,
                               std::vector<TicketCondition>& parts);

} // namespace kq::concurrency
