// A shared handle on a submitted job.
#pragma once

#include <kq/export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kq {
namespace concurrency {

/// What an executor records of a job; reached through tickets only.
class CJobState;

/// A handle on one submitted job: waits for it, learns how it failed, withdraws it from its queue
/// (`CJobQueue::Remove`) or makes other jobs wait for it (`after`, `dependsOn`).
///
/// A job is pending, then running, and then finished: done (its callable returned), failed (it
/// threw) or removed (it was taken out of its queue before it started). It never goes back.
///
/// Tickets are values: copies refer to the same job, a moved-from ticket is empty, and a ticket may
/// outlive the executor. Different tickets on one job may be used on any threads at once.
/// Everything that the job did happens before a wait for it returns.
///
/// Waiting never runs the job: a thread that waits for a job that only it could run blocks. A job
/// whose executor was destroyed without running it (a `CThreadPool` that still held it) stays
/// pending for ever.
class CJobTicket {
public:
    /// A ticket that refers to no job.
    CJobTicket() noexcept = default;
    /// A ticket on a given state; executors use this.
    explicit CJobTicket(std::shared_ptr<CJobState> state) noexcept : state_(std::move(state)) {}

    /// Blocks until the job is finished. If it failed, throws the exception that ended it, the very
    /// object that the job threw. Returns at once on an empty ticket.
    KQ_API void Wait() const;

    /// Blocks until the job is finished and tells how it failed instead of throwing: `error` holds
    /// the failure text (the exception's `what()`, the name of its type when that is null, "unknown
    /// exception" when it is no `std::exception`) or is empty when the job did not fail. On an
    /// empty ticket returns at once and leaves `error` as it is.
    KQ_API void Wait(std::optional<std::string>& error) const;

    /// Blocks until the job is finished, or for at most `milliseconds`, measured on a steady clock
    /// from the call; 0 only asks, and no value means "for ever". Returns whether the job is
    /// finished; if it failed, throws as `Wait()` does. True on an empty ticket.
    KQ_API bool Wait(unsigned long milliseconds) const;

    /// As above, without throwing: `error` is assigned as by the untimed form, and is empty after a
    /// time-out.
    KQ_API bool Wait(unsigned long milliseconds, std::optional<std::string>& error) const;

    /// The state that the ticket holds, null for an empty ticket; executors use this.
    const std::shared_ptr<CJobState>& State() const noexcept { return state_; }

    /// Two tickets are equal when they refer to the same job, or both to none.
    friend bool operator==(const CJobTicket& left, const CJobTicket& right) noexcept {
        return left.state_ == right.state_;
    }
    /// Whether they refer to different jobs.
    friend bool operator!=(const CJobTicket& left, const CJobTicket& right) noexcept {
        return !(left == right);
    }
    /// A strict order for sorted containers, by the address of the state; an empty ticket is first.
    friend bool operator<(const CJobTicket& left, const CJobTicket& right) noexcept {
        return std::less<>()(left.state_.get(), right.state_.get());
    }
    /// The reverse of that order.
    friend bool operator>(const CJobTicket& left, const CJobTicket& right) noexcept {
        return right < left;
    }
    /// The same order.
    friend bool operator<=(const CJobTicket& left, const CJobTicket& right) noexcept {
        return !(right < left);
    }
    /// The same order, reversed.
    friend bool operator>=(const CJobTicket& left, const CJobTicket& right) noexcept {
        return !(left < right);
    }

private:
    std::shared_ptr<CJobState> state_;
};

/// A ticket on the job that the calling thread is running, equal to the one its submitter holds.
/// Throws `std::runtime_error("no this job is executed by the current thread")` when it runs none.
/// A thread remembers one job, not a stack of them: after a job that ran inside another one on the
/// same thread has returned, the outer job is not known any more.
KQ_API CJobTicket thisJob();

} // namespace concurrency
} // namespace kq
