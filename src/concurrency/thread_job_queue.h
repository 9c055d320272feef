// A lane as `CJobQueue` owns it.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include "concurrency/i_job_queue.h"
#include "concurrency/lane.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace kq::concurrency {

/// Runs its jobs on a pool, at most so many at once. Destruction waits until every job has run or
/// was dropped.
class CThreadJobQueue final : public IJobQueue {
public:
    /// A limit of 0 means the pool's `MaxSpareThreadCount()`.
    CThreadJobQueue(std::shared_ptr<CThreadPool> pool, std::size_t maxDispatchers)
        : pool_(std::move(pool)),
          lane_(std::make_shared<LaneCore>(
              *pool_, maxDispatchers != 0 ? maxDispatchers : pool_->MaxSpareThreadCount())) {}

    ~CThreadJobQueue() override { Drain(); }

    CJobTicket Queue(std::shared_ptr<CQueueJobAdapter> job, bool /*allowInline*/) override {
        return lane_->Queue(std::move(job));
    }

    bool Remove(const CJobTicket& ticket) override;

    /// Whether nothing is pending and no dispatcher is left.
    bool IsIdle() const noexcept { return lane_->IsIdle(); }

    /// How many jobs were ever queued.
    std::uint64_t QueuedCount() const noexcept { return lane_->QueuedCount(); }

    /// Waits until nothing is pending and no dispatcher is left.
    void Drain() { lane_->Drain(); }

private:
    const std::shared_ptr<CThreadPool> pool_;
    const std::shared_ptr<LaneCore> lane_;
};

} // namespace kq::concurrency
