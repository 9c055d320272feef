#include <kq/concurrency/thread_pool.h>

#include "concurrency/thread_pool_impl.h"

namespace kq::concurrency {

Singleton<CThreadPool, std::shared_ptr> threadPool;

CThreadPool::CThreadPool(const ThreadFactory& factory) : CThreadPool(0, factory) {}

CThreadPool::CThreadPool(std::size_t maxSpareThreads, const ThreadFactory& factory)
    : CThreadPool(maxSpareThreads, std::chrono::duration<int>(10), factory) {}

CThreadPool::CThreadPool(std::size_t maxSpareThreads, const std::chrono::duration<int>& idleTime,
                         const ThreadFactory& factory)
    : impl_(std::make_unique<CThreadPoolImpl>(maxSpareThreads, idleTime, factory)) {}

CThreadPool::~CThreadPool() { impl_->core->ShutDown(); }

CJobTicket CThreadPool::Start(const Job& job) { return impl_->core->Start(job); }

std::size_t CThreadPool::ThreadCount() const { return impl_->core->ThreadCount(); }

std::size_t CThreadPool::SpareThreadCount() const { return impl_->core->SpareThreadCount(); }

std::size_t CThreadPool::MaxSpareThreadCount() const { return impl_->core->MaxSpareThreadCount(); }

std::size_t CThreadPool::JobCount() const { return impl_->core->JobCount(); }

void CThreadPool::RemoveFinishedThreads() { impl_->core->RemoveFinishedThreads(); }

} // namespace kq::concurrency
