// The queue of a UI thread.
#pragma once

#include <kq/singleton.h>

#include "concurrency/i_job_queue.h"
#include "concurrency/ui_queue_core.h"

#include <memory>

namespace kq::concurrency {

/// Runs jobs on the thread that made it, from that thread's message loop. To be destroyed there, or
/// closed there before.
class CUIJobQueueImpl final : public IJobQueue {
public:
    CUIJobQueueImpl() : core_(UIQueueCore::Make()) {}
    ~CUIJobQueueImpl() override { core_->Close(); }

    CJobTicket Queue(std::shared_ptr<CQueueJobAdapter> job, bool allowInline) override;
    bool Remove(const CJobTicket& ticket) override;

    /// Dispatches the messages of the window; never waits. On the UI thread.
    void Pump() const;

    /// Null when there is none. On the UI thread.
    HWND Window() const noexcept { return core_->Window(); }

    /// Runs what may start, and ends every other job as removed, now and from now on. On the UI
    /// thread.
    void Finish();

private:
    const std::shared_ptr<UIQueueCore> core_;
};

/// The process-wide one, for the main thread. While it is empty, jobs with UI terms and every
/// withdrawal are refused with the singleton's error.
extern Singleton<CUIJobQueueImpl, std::shared_ptr> uiJobQueue;

} // namespace kq::concurrency
