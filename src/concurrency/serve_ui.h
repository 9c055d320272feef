// Waiting on the UI thread without holding up its jobs.
#pragma once

#include <kq/concurrency/job.h>

namespace kq::concurrency {

class CUIJobQueueImpl;

/// Runs `work` on a thread of its own, or here when there is none to be had or the queue has no
/// window, and returns when it is done. Meanwhile the calling thread, which is the queue's UI
/// thread, runs the queue's jobs, so that `work` may wait for jobs that wait for those.
void ServeUIDuring(const Job& work, CUIJobQueueImpl& queue);

} // namespace kq::concurrency
