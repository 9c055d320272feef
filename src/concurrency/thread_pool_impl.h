// The core behind a `CThreadPool`.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include "concurrency/thread_pool_core.h"

#include <memory>

namespace kq::concurrency {

class CThreadPoolImpl {
public:
    CThreadPoolImpl(std::size_t maxSpareThreads, std::chrono::duration<int> idleTime,
                    const ThreadFactory& factory)
        : core(std::make_shared<ThreadPoolCore>(maxSpareThreads, idleTime, factory)) {}

    static CThreadPoolImpl& Of(CThreadPool& pool) noexcept { return *pool.impl_; }

    const std::shared_ptr<ThreadPoolCore> core;
};

} // namespace kq::concurrency
