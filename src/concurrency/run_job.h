// The one routine by which every executor runs a job.
#pragma once

#include <kq/concurrency/job.h>
#include <kq/concurrency/job_ticket.h>

#include <memory>

namespace kq::concurrency {

/// The calling thread's place for the job that it runs: one, not a stack. It points at a ticket
/// that the running routine owns, because an owning thread-local would need a destructor that runs
/// at a time nobody controls.
using CurrentJobSlot = const CJobTicket*;

/// The slot of the calling thread. A loop that runs many jobs asks once: reaching a thread-local
/// object is not free.
CurrentJobSlot& CurrentJob() noexcept;

/// A job on its way to a thread, with the state that its tickets refer to.
struct JobEntry {
    Job job;
    CJobTicket ticket;
};

/// A new pending state in an allocation of its own.
CJobTicket MakePendingTicket();

/// Runs `job` on the calling thread, whose slot is `slot`, and records its outcome in the state of
/// `ticket`. The callable is destroyed before anybody who waits is woken. `looker` is the lane in
/// which this thread will look for work next; see `FinishCascade`.
void RunJob(Job& job, const CJobTicket& ticket, CurrentJobSlot& slot,
            const void* looker = nullptr) noexcept;

} // namespace kq::concurrency
