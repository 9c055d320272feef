// What follows from the end of a job.
#pragma once

#include <memory>

namespace kq::concurrency {

class CQueueJobAdapter;

/// Collects the jobs that the end of another job drops, and ends them one after the other: a chain
/// of a hundred thousand jobs that depend on each other must not become a recursion of that depth.
///
/// Used in three steps: make one, finish a job with it, `Run()` it without holding any lock.
class FinishCascade {
public:
    /// `looker` is the lane, if any, in which the finishing thread will look for work next: nobody
    /// has to be woken there for what this job's end makes ready, unless it also drops jobs.
    explicit FinishCascade(const void* looker = nullptr) noexcept : looker_(looker) {}
    FinishCascade(const FinishCascade&) = delete;
    FinishCascade& operator=(const FinishCascade&) = delete;

    /// Not while there are jobs to end: their destructors come first, and take what time they like.
    /// What a job's end drops may also leave the lane empty, and then whoever sleeps there must be
    /// woken to go home.
    bool WillLookIn(const void* lane) const noexcept { return looker_ == lane && IsEmpty(); }

    bool IsEmpty() const noexcept { return first_ == nullptr; }

    /// Adds a job that was taken out of its queue for good. Allocates nothing.
    void Drop(std::shared_ptr<CQueueJobAdapter> job) noexcept;

    /// Ends the collected jobs as removed, and those that this drops in turn.
    void Run() noexcept;

private:
    const void* looker_;
    // Linked through the jobs themselves, newest last; each holds the reference on itself.
    CQueueJobAdapter* first_ = nullptr;
    CQueueJobAdapter* last_ = nullptr;
};

} // namespace kq::concurrency
