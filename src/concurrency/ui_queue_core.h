// What a UI job queue and its window share.
#pragma once

#include <kq/concurrency/job_ticket.h>

#include "concurrency/gate.h"
#include "concurrency/job_list.h"
#include "concurrency/pending_jobs.h"
#include "concurrency/queue_job_adapter.h"
#include "concurrency/ui_window.h"
#include "thread/mutex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace kq::concurrency {

/// The jobs of a UI job queue. New ones go to the incoming list; the wake message makes the UI
/// thread take them over and run what may start. Kept alive by whoever uses it, because a job may
/// destroy the queue that runs it.
class UIQueueCore final : public GateKeeper, public UIWindowEvents {
public:
    /// The calling thread becomes the UI thread.
    static std::shared_ptr<UIQueueCore> Make();

    UIQueueCore();

    CJobTicket Queue(std::shared_ptr<CQueueJobAdapter> job, bool allowInline);
    bool Remove(CQueueJobAdapter& job);

    /// Takes over what was queued, and runs what may start. On the UI thread.
    void RunWhatMayStart() noexcept;

    /// Null when there is none. On the UI thread.
    HWND Window() const noexcept { return window_ ? window_->Handle() : nullptr; }

    /// Removes the window and drops every job; what is queued later is dropped at once. Does
    /// nothing the second time. On the UI thread.
    void Close() noexcept;

    void OnTicketFinished(const std::shared_ptr<Gate>& gate, TicketClause& clause,
                          FinishCascade& cascade) noexcept override;

private:
    void OnWake() noexcept override;
    void OnRetryTimer() noexcept override;

    bool MayRunInline(CQueueJobAdapter& job) const;
    void RequestWake() noexcept KQ_REQUIRES(mutex_);
    void TakeOver() noexcept KQ_REQUIRES(mutex_);
    void ProcessQueue() noexcept KQ_REQUIRES(mutex_);
    static void Run(std::shared_ptr<CQueueJobAdapter> next) noexcept;
    /// Has the timer call `ProcessQueue` again, unless a wake message is on its way to do so.
    void EnsureReturn() noexcept KQ_REQUIRES(mutex_);

    const std::uint32_t uiThread_;

    thread::mutex mutex_;
    JobList incoming_ KQ_GUARDED_BY(mutex_);
    std::size_t incomingCount_ KQ_GUARDED_BY(mutex_) = 0;
    PendingJobs jobs_ KQ_GUARDED_BY(mutex_);
    bool isWakePosted_ KQ_GUARDED_BY(mutex_) = false; // and not yet handled
    bool isClosed_ KQ_GUARDED_BY(mutex_) = false;
    // Changed only on the UI thread, at the end outside the lock, when nobody posts any more.
    std::optional<UIWindow> window_;
};

} // namespace kq::concurrency
