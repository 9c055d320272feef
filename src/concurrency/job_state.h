// What is recorded of one submitted job.
#pragma once

#include <kq/concurrency/job_ticket.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace kq::concurrency {

class FinishCascade;

enum class JobStatus : std::uint32_t {
    Pending = 0, ///< submitted, not yet started
    Running = 1, ///< its callable is executing
    Done = 2,    ///< the callable returned
    Failed = 3,  ///< the callable threw
    Removed = 4, ///< taken out of a queue before it started
};

/// Somebody who is told once when a job has finished. Intrusive, so that waiting on a job allocates
/// nothing and telling cannot fail.
class Dependent {
public:
    Dependent() = default;
    Dependent(const Dependent&) = delete;
    Dependent& operator=(const Dependent&) = delete;

    /// Called once, without any lock, on the thread that finished the job. The object may destroy
    /// itself.
    virtual void OnFinished(FinishCascade& cascade) noexcept = 0;

protected:
    ~Dependent() = default;

private:
    friend class CJobState;

    // Of whoever holds the list of the state that it hangs on.
    Dependent* previous_ = nullptr;
    Dependent* next_ = nullptr;
};

/// The record of one job: its status, who runs it, how it failed, who waits for it. Shared between
/// the executor and every ticket.
///
/// The status and the marks of those who wait stand in one word, so that finishing a job for which
/// nobody waits is a single atomic operation. A waiting thread sleeps on that word: no kernel
/// object belongs to a job.
class CJobState {
public:
    /// Of a job that an executor runs without a queue.
    CJobState() noexcept = default;
    CJobState(const CJobState&) = delete;
    CJobState& operator=(const CJobState&) = delete;

    /// Whether this is a `CQueueJobAdapter`.
    bool IsInAdapter() const noexcept { return isInAdapter_; }

    JobStatus Status() const noexcept { return StatusOf(word_.load(std::memory_order_acquire)); }
    bool IsFinished() const noexcept { return IsFinal(Status()); }

    /// The thread that runs the job, 0 when none does.
    std::uint32_t Thread() const noexcept { return thread_.load(std::memory_order_relaxed); }

    /// Blocks until the job is finished.
    void Wait() const noexcept;
    /// Blocks until the job is finished or the time is over; returns whether it is finished.
    bool Wait(std::uint32_t milliseconds) const noexcept;

    /// The exception that ended the job; null unless it failed. Only asked of a finished job.
    const std::exception_ptr& Error() const noexcept { return error_; }
    /// The failure text; empty unless the job failed. Only asked of a finished job.
    std::optional<std::string> ErrorText() const;

    /// Pending becomes running, on the calling thread.
    void Begin() noexcept;
    /// Running becomes done.
    void Succeed(FinishCascade& cascade) noexcept;
    /// Running becomes failed, with the exception that ended the job.
    void Fail(std::exception_ptr error, FinishCascade& cascade) noexcept;
    /// Pending becomes removed. The caller is the one who took the job out of its queue.
    void Withdraw(FinishCascade& cascade) noexcept;

    /// Has `dependent` told when the job finishes; returns false, and does nothing, when it has
    /// finished already.
    bool AddDependent(Dependent& dependent) noexcept;
    /// Takes that back. False when `dependent` is being told or was told already: it must then stay
    /// alive until `OnFinished` has been called.
    bool RemoveDependent(Dependent& dependent) noexcept;

protected:
    struct InAdapter {};
    explicit CJobState(InAdapter /*tag*/) noexcept : isInAdapter_(true) {}

private:
    static constexpr std::uint32_t statusMask = 7;
    static constexpr std::uint32_t waitedFor = 8;      // a thread sleeps on the word
    static constexpr std::uint32_t hasDependents = 16; // the list was used
    // Somebody is changing the list of dependents, which takes a few instructions. The job does not
    // finish meanwhile; afterwards the list belongs to the thread that has finished it.
    static constexpr std::uint32_t listHeld = 32;
    static constexpr std::uint32_t listAwaited = 64; // and a thread sleeps until that is over

    static JobStatus StatusOf(std::uint32_t word) noexcept {
        return static_cast<JobStatus>(word & statusMask);
    }
    static bool IsFinal(JobStatus status) noexcept { return status > JobStatus::Running; }

    bool MarkWaitedFor(std::uint32_t& word) const noexcept;
    void Finish(JobStatus status, FinishCascade& cascade) noexcept;
    std::uint32_t AwaitList() noexcept;
    bool HoldList() noexcept;
    void ReleaseList() noexcept;

    mutable std::atomic<std::uint32_t> word_{0};
    std::atomic<std::uint32_t> thread_{0};
    const bool isInAdapter_ = false;
    // In the order of registration; circular over the first one's `previous_`.
    Dependent* dependents_ = nullptr;

    // Written before the job fails, read after.
    std::exception_ptr error_;
    std::unique_ptr<std::string> errorText_;
};

} // namespace kq::concurrency
