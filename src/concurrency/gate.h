// What stands between a queued job and its start.
#pragma once

#include <kq/concurrency/job_terms.h>

#include "concurrency/job_state.h"
#include "concurrency/ticket_condition.h"
#include "thread/recycling.h"

#include <algorithm>
#include <cstddef>
#include <forward_list>
#include <functional>
#include <memory>
#include <optional>

namespace kq::concurrency {

class CQueueJobAdapter;
class Gate;

/// One ticket condition of a job: hangs on the one job that it waits for now.
class TicketClause final : public Dependent {
public:
    explicit TicketClause(const TicketCondition& condition) noexcept : cursor_(condition) {}

    /// What the condition answers now; hangs on nothing.
    StartInfo Ask() noexcept { return cursor_.Advance(); }

    /// Goes on along the tickets. `Postpone` when it now hangs on one, and keeps `gate` alive until
    /// it is told or unhooked.
    StartInfo Advance(const std::shared_ptr<Gate>& gate) noexcept;

    /// Stops waiting. Afterwards the clause is either told once more, soon, or never.
    void Unhook() noexcept;

    void OnFinished(FinishCascade& cascade) noexcept override;

private:
    TicketCursor cursor_;
    // Under the queue's lock: hung on a job by the last `Advance`. It may be being told by now.
    bool isHung_ = false;
    // While it hangs on a job; of the thread that takes it off.
    std::shared_ptr<Gate> gate_;
};

/// The ticket conditions of one job. The first one, which is the only one as a rule, takes no
/// memory of its own.
class ClauseList {
public:
    void Add(const TicketCondition& condition) {
        if (first_)
            others_.emplace_front(condition);
        else
            first_.emplace(condition);
    }
    void Clear() noexcept {
        first_.reset();
        others_.clear();
    }

    /// Stops at the first one for which the predicate says no.
    template <class Predicate>
    bool AllOf(Predicate predicate) {
        return (!first_ || predicate(*first_)) &&
               std::all_of(others_.begin(), others_.end(), predicate);
    }

private:
    std::optional<TicketClause> first_;
    std::forward_list<TicketClause, thread::RecyclingAllocator<TicketClause>> others_;
};

/// The queue's side of a gate.
class GateKeeper : public std::enable_shared_from_this<GateKeeper> {
public:
    /// A job that `clause` waited for has finished. Called without any lock.
    virtual void OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                                  FinishCascade& cascade) noexcept = 0;

protected:
    ~GateKeeper() = default;
};

/// The condition of one queued job. Either opaque, and then polled; or a conjunction of ticket
/// conditions, and then it hangs on the jobs that it waits for.
///
/// Whoever uses it at the moment keeps it alive, so a job can be taken out of its queue while its
/// condition is being asked. Guarded by the queue's lock but for the condition itself.
class Gate {
public:
    /// The gate for these terms, null when there is nothing to wait for.
    static std::shared_ptr<Gate> Make(const std::shared_ptr<CJobTermsImpl>& terms);

    /// What the terms answer now. Not once the queue has hung it on tickets.
    StartInfo Ask();

    /// Asked when the condition is opaque; empty otherwise.
    std::function<StartInfo()> condition;
    ClauseList clauses;
    std::size_t openClauses = 0; ///< those that wait still

    /// The job behind it; null once that was taken out of the queue.
    CQueueJobAdapter* job = nullptr;
    /// Kept alive, because a job that this one waited for may finish late.
    std::shared_ptr<GateKeeper> keeper;

private:
    bool AddClauses(const std::function<StartInfo()>& terms);
};

} // namespace kq::concurrency
