// What `CJobQueue` routes jobs to.
#pragma once

#include <kq/concurrency/job_ticket.h>

#include <memory>

namespace kq::concurrency {

class CQueueJobAdapter;

/// A queue behind `CJobQueue`: one of the lanes on the pool, or the UI thread's.
class IJobQueue {
public:
    IJobQueue() = default;
    IJobQueue(const IJobQueue&) = delete;
    IJobQueue& operator=(const IJobQueue&) = delete;
    virtual ~IJobQueue() = default;

    /// Takes a new job. `allowInline` lets the UI queue run it at once on its own thread; the lanes
    /// never do.
    virtual CJobTicket Queue(std::shared_ptr<CQueueJobAdapter> job, bool allowInline) = 0;

    /// Withdraws a job that has not started; returns whether it was found waiting here.
    virtual bool Remove(const CJobTicket& ticket) = 0;
};

} // namespace kq::concurrency
