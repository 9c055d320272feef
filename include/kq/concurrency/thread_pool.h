// Threads that run one job after another.
#pragma once

#include <kq/concurrency/job.h>
#include <kq/concurrency/job_ticket.h>
#include <kq/export.h>
#include <kq/singleton.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace kq {
namespace concurrency {

/// One thread of a pool, as the pool's thread factory makes it. The order of the virtual functions
/// is part of the binary interface.
class KQ_API CThread {
public:
    CThread() = default;
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Ends the object; waits for a thread that still runs. Never called on the thread itself.
    virtual ~CThread();
    /// Blocks until the thread's function has returned.
    virtual void Wait() const = 0;
    /// Whether the thread's function has returned; always false when the thread itself asks.
    virtual bool IsFinished() const = 0;
};

/// Makes the thread that runs the given function, or returns null when it cannot. Called outside
/// the pool's lock, possibly on several threads at once.
using ThreadFactory = std::function<std::unique_ptr<CThread>(const Job&)>;

/// Runs each started job on a thread of its own: on a spare thread when one is waiting, else on a
/// new one. A thread that has finished a job waits for the next. After an idle time the surplus
/// threads end; a bounded number (the spare limit) go on waiting without limit.
///
/// The pool does not limit how many jobs run at once: every job that is started runs. Use
/// `CJobQueue` for that, which runs its jobs here.
///
/// Every operation may be called from any thread, also from a job of the pool. The pool must not be
/// destroyed on one of its own threads.
class CThreadPool {
public:
    /// A pool with a spare limit of 0 and an idle time of 10 s.
    KQ_API explicit CThreadPool(const ThreadFactory& factory = {});
    /// A pool with an idle time of 10 s.
    KQ_API explicit CThreadPool(std::size_t maxSpareThreads, const ThreadFactory& factory = {});
    /// A pool whose threads wait for work `idleTime` (in seconds; a negative one is as 0) before
    /// those beyond `maxSpareThreads` end. A `maxSpareThreads` of 0 means the number of hardware
    /// threads, or 1 if that is not known. An empty `factory` means the platform's threads. Starts
    /// no thread.
    KQ_API CThreadPool(std::size_t maxSpareThreads, const std::chrono::duration<int>& idleTime,
                       const ThreadFactory& factory = {});

    /// Waits until every thread has ended: running jobs finish, and so do jobs that they start here
    /// meanwhile. A job that no thread could be made for stays pending.
    KQ_API ~CThreadPool();

    CThreadPool(const CThreadPool&) = delete;
    CThreadPool& operator=(const CThreadPool&) = delete;

    /// Hands a copy of `job` to a thread and returns its ticket.
    /// Throws `std::runtime_error("Thread could not be created!")` when a new thread was needed and
    /// the factory made none: the job is then run by the next thread that looks for work, but there
    /// is no ticket on it. While such a job still waits, a further call first tries to make a
    /// thread for it, and throws the same, without taking its own job, when that fails too. What
    /// the factory throws leaves in the same way.
    KQ_API CJobTicket Start(const Job& job);

    /// Threads held, with those that have ended and were not removed yet.
    KQ_API std::size_t ThreadCount() const;
    /// Threads that wait for a job now.
    KQ_API std::size_t SpareThreadCount() const;
    /// How many threads may wait without limit.
    KQ_API std::size_t MaxSpareThreadCount() const;
    /// Jobs ever started.
    KQ_API std::size_t JobCount() const;

    /// Destroys the objects of threads that have ended. Every thread does this when it ends.
    KQ_API void RemoveFinishedThreads();

private:
    friend class CThreadPoolImpl;
    std::unique_ptr<class CThreadPoolImpl> impl_;
};

/// The process-wide pool, built with all defaults when the library is loaded.
extern KQ_API Singleton<CThreadPool, std::shared_ptr> threadPool;

} // namespace concurrency
} // namespace kq
