#include "concurrency/services.h"

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/concurrency/timed_job_scheduler.h>

#include "concurrency/job_queue_impl.h"
#include "concurrency/serve_ui.h"
#include "concurrency/thread_pool_impl.h"
#include "concurrency/ui_job_queue_impl.h"

#include <memory>

namespace kq::concurrency {

namespace {

constexpr unsigned int blockingFactor = 10;

void Drain(CJobQueue& queue, CUIJobQueueImpl* uiQueue) {
    CJobQueueImpl& lanes = CJobQueueImpl::Of(queue);
    if (lanes.IsIdle())
        return;
    if (uiQueue == nullptr) {
        lanes.Drain();
    } else if (uiQueue->Window() == nullptr) {
        // Its jobs will never run, and others may wait for them.
        uiQueue->Finish();
        lanes.Drain();
    } else {
        ServeUIDuring([&lanes] { lanes.Drain(); }, *uiQueue);
    }
}

} // namespace

void InstallServices() {
    threadPool = std::make_shared<CThreadPool>();
    uiJobQueue = std::make_shared<CUIJobQueueImpl>();
    jobQueue = std::make_shared<CJobQueue>(threadPool.GetShared(), blockingFactor);
    StartupJobScheduler();
}

void DrainServices() {
    ShutdownJobScheduler();
    const std::shared_ptr<CJobQueue> queue = jobQueue.GetShared();
    const std::shared_ptr<CUIJobQueueImpl> uiQueue = uiJobQueue.GetShared();
    const std::shared_ptr<CThreadPool> pool = threadPool.GetShared();
    jobQueue.Reset();
    if (queue != nullptr)
        Drain(*queue, uiQueue.get());
    if (uiQueue != nullptr)
        uiQueue->Finish();
    uiJobQueue.Reset();
    threadPool.Reset();
    // A job may have started it again, and its loop would never leave the pool.
    ShutdownJobScheduler();
    if (pool != nullptr)
        CThreadPoolImpl::Of(*pool).core->ShutDown();
}

void ReleaseServices() {
    ShutdownJobScheduler();
    jobQueue.Reset();
    uiJobQueue.Reset();
    threadPool.Reset();
}

} // namespace kq::concurrency
