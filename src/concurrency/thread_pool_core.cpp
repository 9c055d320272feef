#include "concurrency/thread_pool_core.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/pool_thread.h"
#include "thread/deadline.h"
#include "thread/recycling.h"

#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

namespace kq::concurrency {

namespace {

std::size_t SpareLimit(std::size_t requested) {
    if (requested != 0)
        return requested;
    const unsigned int hardware = std::thread::hardware_concurrency();
    return hardware != 0 ? hardware : 1;
}

} // namespace

/// A thread between the call of the factory and its first look for a job. Whoever comes first, the
/// thread itself or the failure of the factory, takes it off the count, and the other does not.
class ThreadPoolCore::Newcomer {
public:
    explicit Newcomer(std::shared_ptr<ThreadPoolCore> thePool) noexcept
        : pool(std::move(thePool)) {}

    const std::shared_ptr<ThreadPoolCore> pool;
    bool isComing = true; ///< in the pool's comingCount_
};

ThreadPoolCore::ThreadPoolCore(std::size_t maxSpareThreads, std::chrono::duration<int> idleTime,
                               const ThreadFactory& factory, thread::Clock& clock)
    : clock_(clock),
      idleTime_(idleTime),
      factory_(factory ? factory : ThreadFactory(MakePoolThread)),
      maxSpareCount_(SpareLimit(maxSpareThreads)) {}

CJobTicket ThreadPoolCore::Start(const Job& job) {
    // Before the lock is taken: this copies the user's callable.
    auto entry = std::make_unique<JobEntry>(JobEntry{job, MakePendingTicket()});
    CJobTicket ticket = entry->ticket;

    thread::unique_lock lock(mutex_);
    while (handOver_ != nullptr) {
        // A busy thread does not count: its job may be the one that calls here.
        if (spareCount_ + comingCount_ != 0)
            jobTaken_.wait(mutex_);
        else
            AddThread();
    }
    ++jobCount_;
    handOver_ = std::move(entry);
    if (spareCount_ != 0) {
        // The job may run, and the pool's owner see its end and destroy the pool, before the
        // notification.
        const std::shared_ptr<ThreadPoolCore> keepAlive = shared_from_this();
        lock.unlock();
        jobAvailable_.notify_one();
    } else {
        AddThread();
    }
    return ticket;
}

void ThreadPoolCore::AddThread() {
    std::list<HeldThread> made(1);
    const auto newcomer = std::make_shared<Newcomer>(shared_from_this());
    ++comingCount_;
    ++beingMade_;
    std::exception_ptr error;
    {
        const thread::unlock_guard released(mutex_);
        try {
            made.front().thread =
                factory_(Job([newcomer] { newcomer->pool->RunThread(*newcomer); }));
        } catch (...) {
            error = std::current_exception();
        }
    }
    if (--beingMade_ == 0)
        settled_.notify_all();
    if (made.front().thread != nullptr) {
        threads_.splice(threads_.end(), made);
        return;
    }
    // Those who count on this thread have to look again.
    Arrive(*newcomer);
    jobTaken_.notify_all();
    if (error)
        std::rethrow_exception(error);
    throw std::runtime_error("Thread could not be created!");
}

void ThreadPoolCore::Arrive(Newcomer& newcomer) noexcept {
    if (std::exchange(newcomer.isComing, false))
        --comingCount_;
}

void ThreadPoolCore::RunThread(Newcomer& newcomer) noexcept {
    CurrentJobSlot& slot = CurrentJob();
    thread::unique_lock lock(mutex_);
    Arrive(newcomer);
    while (const std::unique_ptr<JobEntry> entry = WaitForJob()) {
        lock.unlock();
        jobTaken_.notify_one();
        RunJob(entry->job, entry->ticket, slot);
        entry->ticket = CJobTicket();
        lock.lock();
    }
    lock.unlock();
    RemoveFinishedThreads();
}

// Yields nothing when this thread is to end.
std::unique_ptr<JobEntry> ThreadPoolCore::WaitForJob() {
    ++spareCount_;
    const auto deadline = thread::SaturatedSum(clock_.Now(), idleTime_);
    bool isSurplus = true;
    bool hasTrimmed = false;
    // The slot is looked at before the clock: a job that was handed over in the moment in which the
    // idle time ended is taken.
    while (handOver_ == nullptr && maxSpareCount_ != 0) {
        if (!isSurplus)
            jobAvailable_.wait(mutex_);
        else if (clock_.Now() < deadline)
            clock_.WaitUntil(jobAvailable_, mutex_, deadline);
        else if (!std::exchange(hasTrimmed, true))
            Trim();
        else if (spareCount_ <= maxSpareCount_)
            isSurplus = false;
        else
            break;
    }
    --spareCount_;
    return std::move(handOver_);
}

// What a burst of jobs has left behind goes when a thread has found nothing to do for a while.
void ThreadPoolCore::Trim() noexcept {
    const thread::unlock_guard released(mutex_);
    thread::TrimRecyclers();
}

std::size_t ThreadPoolCore::ThreadCount() const {
    const thread::lock_guard guard(mutex_);
    return threads_.size();
}

std::size_t ThreadPoolCore::SpareThreadCount() const {
    const thread::lock_guard guard(mutex_);
    return spareCount_;
}

std::size_t ThreadPoolCore::JobCount() const {
    const thread::lock_guard guard(mutex_);
    return jobCount_;
}

void ThreadPoolCore::RemoveFinishedThreads() {
    // Ends after the lock is released, as its destructor is the thread objects' own code.
    std::list<HeldThread> finished;
    const thread::lock_guard guard(mutex_);
    for (auto held = threads_.begin(); held != threads_.end();) {
        // One that somebody else is asking is theirs to remove.
        const bool remove = !held->isAsked && IsFinished(*held);
        const auto next = std::next(held);
        if (remove)
            finished.splice(finished.end(), threads_, held);
        held = next;
    }
}

// Releases the lock while it asks; the mark keeps the element where it is.
bool ThreadPoolCore::IsFinished(HeldThread& held) {
    held.isAsked = true;
    ++beingAsked_;
    bool isFinished = false;
    std::exception_ptr error;
    {
        const thread::unlock_guard released(mutex_);
        try {
            isFinished = held.thread->IsFinished();
        } catch (...) {
            error = std::current_exception();
        }
    }
    held.isAsked = false;
    if (--beingAsked_ == 0)
        settled_.notify_all();
    if (error)
        std::rethrow_exception(error);
    return isFinished;
}

void ThreadPoolCore::ShutDown() {
    if (thread::platform::ProcessIsEnding())
        return;
    const thread::lock_guard guard(mutex_);
    maxSpareCount_ = 0;
    jobAvailable_.notify_all();
    // Jobs that still run may start others, and these need threads; so may the destructor of what a
    // job captured for which no thread could be made.
    for (;;) {
        while (beingMade_ != 0 || beingAsked_ != 0)
            settled_.wait(mutex_);
        if (threads_.empty() && handOver_ == nullptr)
            return;
        std::list<HeldThread> ending;
        ending.splice(ending.end(), threads_);
        std::unique_ptr<JobEntry> neverRun;
        if (ending.empty())
            neverRun = std::move(handOver_);
        const thread::unlock_guard released(mutex_);
        ending.clear();
        neverRun.reset();
    }
}

} // namespace kq::concurrency
