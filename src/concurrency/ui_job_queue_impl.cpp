#include "concurrency/ui_job_queue_impl.h"

namespace kq::concurrency {

Singleton<CUIJobQueueImpl, std::shared_ptr> uiJobQueue;

} // namespace kq::concurrency
