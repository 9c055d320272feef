// Jobs that are still at it when the process ends.
#pragma once

#include <kq/concurrency/job_queue.h>

#include "process/flag.h"
#include "process/forever.h"

#include <cstddef>
#include <memory>

/// How many jobs the lane for computing jobs runs at once.
inline std::size_t ComputingLimit() { return kq::concurrency::threadPool->MaxSpareThreadCount(); }

/// How many jobs the lane for blocking jobs runs at once.
inline std::size_t BlockingLimit() {
    constexpr std::size_t blockingFactor = 10;
    return blockingFactor * ComputingLimit();
}

/// Has `count` jobs under those terms call `run`, and returns when all of them have begun.
inline void Occupy(std::size_t count, void (*run)(),
                   const std::shared_ptr<kq::concurrency::CJobTermsImpl>& terms = {}) {
    const Countdown begun(count);
    for (std::size_t job = 0; job != count; ++job)
        kq::concurrency::jobQueue->Queue(
            [begun, run] {
                begun.Arrive();
                run();
            },
            terms);
    begun.Wait();
}
