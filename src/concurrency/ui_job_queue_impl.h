// The queue of the UI thread.
#pragma once

#include <kq/singleton.h>

#include "concurrency/i_job_queue.h"

#include <memory>

namespace kq::concurrency {

/// Runs jobs on the thread that made it.
class CUIJobQueueImpl : public IJobQueue {};

/// The process-wide one. Empty until the library installs a UI queue: jobs with UI terms are then
/// refused with the singleton's error.
extern Singleton<CUIJobQueueImpl, std::shared_ptr> uiJobQueue;

} // namespace kq::concurrency
