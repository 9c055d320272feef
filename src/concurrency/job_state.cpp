#include "concurrency/job_state.h"

#include <kq/thread/scoped_locks.h>

#include "concurrency/finish_cascade.h"
#include "concurrency/poll_bell.h"
#include "thread/deadline.h"
#include "thread/platform.h"

#include <chrono>
#include <typeinfo>
#include <utility>

namespace kq::concurrency {

namespace {

std::string TextOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        const char* const text = exception.what();
        return text != nullptr ? text : typeid(exception).name();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace

void CJobState::Wait() const noexcept {
    std::uint32_t word = 0;
    while (MarkWaitedFor(word))
        thread::platform::WaitOnWord(word_, word, thread::platform::infinite);
}

bool CJobState::Wait(std::uint32_t milliseconds) const noexcept {
    if (milliseconds == 0 || IsFinished())
        return IsFinished();
    const thread::Deadline deadline{std::chrono::milliseconds(milliseconds)};
    std::uint32_t word = 0;
    while (MarkWaitedFor(word)) {
        if (deadline.HasPassed())
            return false;
        thread::platform::WaitOnWord(word_, word, deadline.RemainingMilliseconds());
    }
    return true;
}

// Announces a sleeper and yields the word to sleep on; false when the job is finished.
bool CJobState::MarkWaitedFor(std::uint32_t& word) const noexcept {
    word = word_.load(std::memory_order_acquire);
    while (!IsFinal(StatusOf(word))) {
        if ((word & waitedFor) != 0)
            return true;
        if (word_.compare_exchange_weak(word, word | waitedFor, std::memory_order_acquire)) {
            word |= waitedFor;
            return true;
        }
    }
    return false;
}

std::optional<std::string> CJobState::ErrorText() const {
    if (Status() != JobStatus::Failed)
        return std::nullopt;
    // Without the stored text there was no memory for it when the job failed; try again.
    return errorText_ ? *errorText_ : TextOf(error_);
}

void CJobState::Begin() noexcept {
    thread_.store(thread::platform::CurrentThreadId(), std::memory_order_relaxed);
    static_assert(static_cast<int>(JobStatus::Running) == 1);
    word_.fetch_add(1, std::memory_order_relaxed);
}

void CJobState::Succeed(FinishCascade& cascade) noexcept {
    thread_.store(0, std::memory_order_relaxed);
    Finish(JobStatus::Done, cascade);
}

void CJobState::Fail(std::exception_ptr error, FinishCascade& cascade) noexcept {
    try {
        errorText_ = std::make_unique<std::string>(TextOf(error));
    } catch (...) {
        errorText_.reset();
    }
    error_ = std::move(error);
    thread_.store(0, std::memory_order_relaxed);
    Finish(JobStatus::Failed, cascade);
}

void CJobState::Withdraw(FinishCascade& cascade) noexcept { Finish(JobStatus::Removed, cascade); }

void CJobState::Finish(JobStatus status, FinishCascade& cascade) noexcept {
    // Sequentially consistent, so that whoever polls conditions either sees the new status or has
    // its bell rung.
    std::uint32_t before = word_.load(std::memory_order_relaxed);
    do {
        if ((before & listHeld) != 0)
            before = AwaitList();
    } while (!word_.compare_exchange_weak(before, static_cast<std::uint32_t>(status)));
    if ((before & waitedFor) != 0)
        thread::platform::WakeAll(word_);
    if ((before & hasDependents) != 0) {
        for (Dependent* dependent = std::exchange(dependents_, nullptr); dependent != nullptr;) {
            Dependent* const next = dependent->next_;
            dependent->OnFinished(cascade);
            dependent = next;
        }
    }
    PollBell::Ring();
}

// Yields the word as it is when nobody holds the list.
std::uint32_t CJobState::AwaitList() noexcept {
    constexpr int spins = 64;
    for (int spin = 0;; ++spin) {
        std::uint32_t word = word_.load(std::memory_order_relaxed);
        if ((word & listHeld) == 0)
            return word;
        if (spin < spins)
            thread::platform::SpinPause();
        else if (word_.compare_exchange_strong(word, word | listAwaited, std::memory_order_relaxed))
            thread::platform::WaitOnWord(word_, word | listAwaited, thread::platform::infinite);
    }
}

// False when the job is finished.
bool CJobState::HoldList() noexcept {
    std::uint32_t word = word_.load(std::memory_order_acquire);
    do {
        if ((word & listHeld) != 0)
            word = AwaitList();
        if (IsFinal(StatusOf(word)))
            return false;
    } while (!word_.compare_exchange_weak(word, word | listHeld | hasDependents,
                                          std::memory_order_acquire));
    return true;
}

void CJobState::ReleaseList() noexcept {
    const std::uint32_t before =
        word_.fetch_and(~(listHeld | listAwaited), std::memory_order_release);
    // Those who wait for the job sleep on the same word, and look again.
    if ((before & listAwaited) != 0)
        thread::platform::WakeAll(word_);
}

bool CJobState::AddDependent(Dependent& dependent) noexcept {
    if (!HoldList())
        return false;
    dependent.next_ = nullptr;
    if (dependents_ == nullptr) {
        dependent.previous_ = &dependent;
        dependents_ = &dependent;
    } else {
        dependent.previous_ = dependents_->previous_;
        dependents_->previous_->next_ = &dependent;
        dependents_->previous_ = &dependent;
    }
    ReleaseList();
    return true;
}

bool CJobState::RemoveDependent(Dependent& dependent) noexcept {
    if (!HoldList())
        return false;
    const bool isThere = dependent.previous_ != nullptr;
    if (isThere) {
        if (dependent.next_ != nullptr)
            dependent.next_->previous_ = dependent.previous_;
        else
            dependents_->previous_ = dependent.previous_;
        if (dependents_ == &dependent)
            dependents_ = dependent.next_;
        else
            dependent.previous_->next_ = dependent.next_;
        dependent.previous_ = nullptr;
        dependent.next_ = nullptr;
    }
    ReleaseList();
    return isThere;
}

} // namespace kq::concurrency
