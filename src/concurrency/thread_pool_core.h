// What the threads of a pool share.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include "concurrency/run_job.h"
#include "thread/clock.h"
#include "thread/condition_variable.h"
#include "thread/mutex.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <list>
#include <memory>

namespace kq::concurrency {

/// The state of a `CThreadPool`. Every thread of the pool keeps it alive, so that a thread that
/// comes late never meets a destroyed pool.
///
/// A started job passes through one slot: a starter waits while the slot is full and then sees to
/// it that a thread comes that takes the job. The factory and the thread objects are only ever used
/// outside the mutex.
class ThreadPoolCore : public std::enable_shared_from_this<ThreadPoolCore> {
public:
    ThreadPoolCore(std::size_t maxSpareThreads, std::chrono::duration<int> idleTime,
                   const ThreadFactory& factory, thread::Clock& clock = thread::SteadyClock());

    CJobTicket Start(const Job& job);
    std::size_t ThreadCount() const;
    std::size_t SpareThreadCount() const;
    std::size_t MaxSpareThreadCount() const noexcept { return maxSpareCount_; }
    std::size_t JobCount() const;
    void RemoveFinishedThreads();

    /// Ends every thread and waits for it; jobs that run go on to their end.
    void ShutDown();

private:
    struct HeldThread {
        std::unique_ptr<CThread> thread;
        bool isAsked = false; // somebody uses the thread object outside the mutex
    };
    class Newcomer;

    // These release the mutex meanwhile.
    void AddThread() KQ_REQUIRES(mutex_);
    std::unique_ptr<JobEntry> WaitForJob() KQ_REQUIRES(mutex_);
    void Trim() noexcept KQ_REQUIRES(mutex_);
    bool IsFinished(HeldThread& held) KQ_REQUIRES(mutex_);

    void RunThread(Newcomer& newcomer) noexcept KQ_EXCLUDES(mutex_);
    void Arrive(Newcomer& newcomer) noexcept KQ_REQUIRES(mutex_);

    thread::Clock& clock_;
    const std::chrono::duration<int> idleTime_;
    const ThreadFactory factory_;
    std::atomic<std::size_t> maxSpareCount_; // 0 only once shutdown has begun; changed under mutex_

    mutable thread::mutex mutex_;
    thread::condition_variable jobAvailable_;
    thread::condition_variable jobTaken_; // or nobody is left who would take it
    thread::condition_variable settled_;  // beingMade_ or beingAsked_ dropped to 0
    std::unique_ptr<JobEntry> handOver_ KQ_GUARDED_BY(mutex_);
    std::list<HeldThread> threads_ KQ_GUARDED_BY(mutex_); // in the order of creation
    std::size_t spareCount_ KQ_GUARDED_BY(mutex_) = 0;    // threads that wait for a job
    std::size_t comingCount_ KQ_GUARDED_BY(mutex_) = 0;   // threads before their first look for one
    std::size_t beingMade_ KQ_GUARDED_BY(mutex_) = 0;     // calls of the factory under way
    std::size_t beingAsked_ KQ_GUARDED_BY(mutex_) = 0;    // held threads that are asked
    std::size_t jobCount_ KQ_GUARDED_BY(mutex_) = 0;
};

} // namespace kq::concurrency
