#include "progress/progress_state.h"

#include <kq/thread/scoped_locks.h>

#include "progress/both.h"
#include "progress/scope.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kq::progress {

namespace {

bool IsOver(EProgressStatus status) noexcept {
    return status == EProgressStatus::Finished || status == EProgressStatus::Cancelled ||
           status == EProgressStatus::Failed;
}

/// In seconds, as whole milliseconds.
double Seconds(std::chrono::nanoseconds duration) noexcept {
    constexpr double millisecond = 0.001;
    return static_cast<double>(duration / std::chrono::milliseconds(1)) * millisecond;
}

} // namespace

ProgressStateImpl::ProgressStateImpl(thread::Clock& clock, std::wstring const& name,
                                     bool cancelable, bool suspendable, double granularity,
                                     unsigned int userValue, std::optional<std::wstring> userText)
    : clock_(clock),
      granularity_(granularity),
      userText_(std::move(userText)),
      state_{EProgressStatus::Active, 0.0, 0.0, name, {}, {}, {}, {}, {}, {}},
      startTime_(clock.Now()),
      settings_{cancelable, suspendable, userValue},
      states_(state_) {}

ProgressState ProgressStateImpl::Get() const {
    const thread::lock_guard guard(mutex_);
    return state_;
}

unsigned int ProgressStateImpl::UserValue() const {
    const thread::lock_guard guard(mutex_);
    return settings_.userValue;
}

std::optional<std::wstring> ProgressStateImpl::UserText() const { return userText_; }

bool ProgressStateImpl::CanCancel() const {
    const thread::lock_guard guard(mutex_);
    return CanCancelNow();
}

bool ProgressStateImpl::CanSuspend() const {
    const thread::lock_guard guard(mutex_);
    return CanSuspendNow();
}

bool ProgressStateImpl::IsCancelling() const {
    const thread::lock_guard guard(mutex_);
    return status_ == EProgressStatus::Cancelling;
}

void ProgressStateImpl::Add(double delta) {
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        const double before =
            std::exchange(state_.progress, std::min(state_.progress + delta, 1.0));
        if (granularity_ != 0.0 &&
            std::floor(state_.progress / granularity_) <= std::floor(before / granularity_))
            return;
        Publish(publication, Elapsed::Refresh);
    }
    Tell(publication);
}

void ProgressStateImpl::Finish() {
    const auto self = shared_from_this();
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        if (IsOver(status_))
            return;
        state_.progress = 1.0;
        if (state_.measure)
            state_.measure = 0.0;
        status_ = status_ == EProgressStatus::Cancelling ? EProgressStatus::Cancelled
                                                         : EProgressStatus::Finished;
        Publish(publication, Elapsed::Refresh);
    }
    Both([&] { Tell(publication); }, [&] { states_.Complete(); });
}

void ProgressStateImpl::Fail(std::exception_ptr failure) {
    const auto self = shared_from_this();
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        status_ = EProgressStatus::Failed;
        Publish(publication, Elapsed::Refresh);
    }
    Both([&] { Tell(publication); }, [&] { states_.Fail(std::move(failure)); });
}

void ProgressStateImpl::Cancel() {
    const auto self = shared_from_this();
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        if (!CanCancelNow())
            return;
        status_ = EProgressStatus::Cancelling;
        Publish(publication, Elapsed::Keep);
    }
    Both([&] { Tell(publication); }, [&] { requests_.Emit(ERequest::Cancel); });
}

void ProgressStateImpl::Suspend() {
    const auto self = shared_from_this();
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        if (!CanSuspendNow())
            return;
        status_ = EProgressStatus::Suspended;
        if (std::exchange(clockRunning_, false))
            frozenElapsed_ = clock_.Now() - startTime_;
        Publish(publication, Elapsed::Keep);
    }
    Both([&] { Tell(publication); }, [&] { requests_.Emit(ERequest::Suspend); });
}

void ProgressStateImpl::Resume() {
    const auto self = shared_from_this();
    {
        const thread::lock_guard guard(mutex_);
        if (status_ != EProgressStatus::Suspended)
            return;
        status_ = EProgressStatus::Active;
        if (!std::exchange(clockRunning_, true))
            startTime_ =
                clock_.Now() -
                std::chrono::duration_cast<thread::Clock::TimePoint::duration>(frozenElapsed_);
    }
    // The other way round than suspending: the work is told before anybody sees that it goes on.
    Both([&] { requests_.Emit(ERequest::Resume); }, [&] { PublishAndTell(Elapsed::Keep); });
}

void ProgressStateImpl::SetName(std::wstring const& name) {
    Change(&ProgressStateImpl::state_, &ProgressState::name, name, Elapsed::Keep);
}

void ProgressStateImpl::SetText(std::wstring const& text) {
    Change(&ProgressStateImpl::state_, &ProgressState::text, text, Elapsed::Refresh);
}

void ProgressStateImpl::SetNote(std::optional<std::wstring> ProgressState::*note,
                                std::optional<std::wstring> const& value) {
    Change(&ProgressStateImpl::state_, note, value, Elapsed::Refresh);
}

void ProgressStateImpl::SetMeasure(std::optional<double> measure) {
    Change(&ProgressStateImpl::state_, &ProgressState::measure, measure, Elapsed::Keep);
}

void ProgressStateImpl::SetCancelable(bool cancelable) {
    Change(&ProgressStateImpl::settings_, &Settings::cancelable, cancelable, Elapsed::Keep);
}

void ProgressStateImpl::SetSuspendable(bool suspendable) {
    Change(&ProgressStateImpl::settings_, &Settings::suspendable, suspendable, Elapsed::Keep);
}

void ProgressStateImpl::SetUserValue(unsigned int value) {
    Change(&ProgressStateImpl::settings_, &Settings::userValue, value, Elapsed::Keep);
}

std::shared_ptr<void> ProgressStateImpl::Indeterminate() {
    return MakeScope([&] { EnterIndeterminate(); },
                     [state = weak_from_this()] {
                         if (const auto self = state.lock())
                             self->LeaveIndeterminate();
                     });
}

signal::Connection ProgressStateImpl::ConnectStates(
    std::function<void(ProgressState const&)> onState,
    std::function<void(std::exception_ptr)> onFailure, std::function<void()> onCompletion) {
    return states_.Connect(std::move(onState), std::move(onFailure), std::move(onCompletion));
}

signal::Connection ProgressStateImpl::ConnectRequests(std::function<void(ERequest)> onRequest) {
    return requests_.Connect(std::move(onRequest));
}

std::optional<double> ProgressStateImpl::CatchUp(double& lastSeen) const {
    const thread::lock_guard guard(mutex_);
    const double before = std::exchange(lastSeen, publishedProgress_);
    if (publishedProgress_ == before)
        return {};
    return publishedProgress_ - before;
}

bool ProgressStateImpl::CanCancelNow() const noexcept {
    return settings_.cancelable &&
           (status_ == EProgressStatus::Active || status_ == EProgressStatus::Suspended);
}

bool ProgressStateImpl::CanSuspendNow() const noexcept {
    return settings_.suspendable && status_ == EProgressStatus::Active;
}

void ProgressStateImpl::Publish(Publication& publication, Elapsed elapsed) noexcept {
    state_.status = status_ == EProgressStatus::Active && indeterminateDepth_ > 0
                        ? EProgressStatus::Indeterminate
                        : status_;
    if (elapsed == Elapsed::Refresh)
        state_.elapsed = Seconds(clockRunning_ ? clock_.Now() - startTime_ : frozenElapsed_);
    publishedProgress_ = state_.progress;
    try {
        if (const auto audience = states_.Store(state_))
            publication.news.emplace(Publication::News{state_, audience});
    } catch (...) {
        publication.failure = std::current_exception();
    }
}

void ProgressStateImpl::Tell(const Publication& publication) {
    if (publication.failure)
        std::rethrow_exception(publication.failure);
    if (!publication.news)
        return;
    const auto self = shared_from_this();
    states_.Deliver(publication.news->state, publication.news->audience);
}

void ProgressStateImpl::PublishAndTell(Elapsed elapsed) {
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        Publish(publication, elapsed);
    }
    Tell(publication);
}

template <class Part, class Value>
void ProgressStateImpl::Change(Part ProgressStateImpl::*part, Value Part::*field,
                               Value const& value, Elapsed elapsed) {
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        Value& changed = this->*part.*field;
        if (changed == value)
            return;
        changed = value;
        Publish(publication, elapsed);
    }
    Tell(publication);
}

void ProgressStateImpl::EnterIndeterminate() {
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        if (++indeterminateDepth_ == 1)
            Publish(publication, Elapsed::Keep);
    }
    Tell(publication);
}

void ProgressStateImpl::LeaveIndeterminate() {
    Publication publication;
    {
        const thread::lock_guard guard(mutex_);
        if (--indeterminateDepth_ == 0)
            Publish(publication, Elapsed::Keep);
    }
    Tell(publication);
}

} // namespace kq::progress
