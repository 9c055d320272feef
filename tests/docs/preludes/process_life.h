// What the page on process life leaves to its reader.
#pragma once

#include <kq/concurrency/job_queue.h>

#include <thread>

/// Takes until the shutdown has begun.
inline void ComputeForLong() {
    while (kq::concurrency::jobQueue.GetShared() != nullptr)
        std::this_thread::yield();
}
