#include "concurrency/ui_job_queue_impl.h"

#include <kq/win32/message_pump.h>

#include <utility>

namespace kq::concurrency {

Singleton<CUIJobQueueImpl, std::shared_ptr> uiJobQueue;

CJobTicket CUIJobQueueImpl::Queue(std::shared_ptr<CQueueJobAdapter> job, bool allowInline) {
    // The job may destroy this queue.
    const std::shared_ptr<UIQueueCore> core = core_;
    return core->Queue(std::move(job), allowInline);
}

bool CUIJobQueueImpl::Remove(const CJobTicket& ticket) {
    CQueueJobAdapter* const job = CQueueJobAdapter::Find(ticket, core_.get());
    return job != nullptr && core_->Remove(*job);
}

void CUIJobQueueImpl::Pump() const {
    // A null window would mean every message of the thread.
    if (HWND__* const window = Window())
        win32::PumpMessageQueue(window);
}

void CUIJobQueueImpl::Finish() {
    // A condition that has come true since its last tick has no message to tell.
    if (Window() != nullptr)
        core_->RunWhatMayStart();
    Pump();
    core_->Close();
}

} // namespace kq::concurrency
