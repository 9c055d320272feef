#include "progress/progress_state.h"

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
      cancelable_(cancelable),
      suspendable_(suspendable),
      userValue_(userValue),
      states_(state_) {}

ProgressState ProgressStateImpl::Get() const {
    const Lock lock(mutex_);
    return state_;
}

unsigned int ProgressStateImpl::UserValue() const {
    const Lock lock(mutex_);
    return userValue_;
}

std::optional<std::wstring> ProgressStateImpl::UserText() const { return userText_; }

bool ProgressStateImpl::CanCancel() const {
    const Lock lock(mutex_);
    return CanCancelNow();
}

bool ProgressStateImpl::CanSuspend() const {
    const Lock lock(mutex_);
    return CanSuspendNow();
}

bool ProgressStateImpl::IsCancelling() const {
    const Lock lock(mutex_);
    return status_ == EProgressStatus::Cancelling;
}

void ProgressStateImpl::Add(double delta) {
    Lock lock(mutex_);
    const double before = std::exchange(state_.progress, std::min(state_.progress + delta, 1.0));
    if (granularity_ != 0.0 &&
        std::floor(state_.progress / granularity_) <= std::floor(before / granularity_))
        return;
    Publish(std::move(lock), Elapsed::Refresh);
}

void ProgressStateImpl::Finish() {
    Lock lock(mutex_);
    if (IsOver(status_))
        return;
    state_.progress = 1.0;
    if (state_.measure)
        state_.measure = 0.0;
    status_ = status_ == EProgressStatus::Cancelling ? EProgressStatus::Cancelled
                                                     : EProgressStatus::Finished;
    const auto self = shared_from_this();
    Both([&] { Publish(std::move(lock), Elapsed::Refresh); }, [&] { states_.Complete(); });
}

void ProgressStateImpl::Fail(std::exception_ptr failure) {
    Lock lock(mutex_);
    status_ = EProgressStatus::Failed;
    const auto self = shared_from_this();
    Both([&] { Publish(std::move(lock), Elapsed::Refresh); },
         [&] { states_.Fail(std::move(failure)); });
}

void ProgressStateImpl::Cancel() {
    Lock lock(mutex_);
    if (!CanCancelNow())
        return;
    status_ = EProgressStatus::Cancelling;
    const auto self = shared_from_this();
    Both([&] { Publish(std::move(lock), Elapsed::Keep); },
         [&] { requests_.Emit(ERequest::Cancel); });
}

void ProgressStateImpl::Suspend() {
    Lock lock(mutex_);
    if (!CanSuspendNow())
        return;
    status_ = EProgressStatus::Suspended;
    if (std::exchange(clockRunning_, false))
        frozenElapsed_ = clock_.Now() - startTime_;
    const auto self = shared_from_this();
    Both([&] { Publish(std::move(lock), Elapsed::Keep); },
         [&] { requests_.Emit(ERequest::Suspend); });
}

void ProgressStateImpl::Resume() {
    Lock lock(mutex_);
    if (status_ != EProgressStatus::Suspended)
        return;
    status_ = EProgressStatus::Active;
    if (!std::exchange(clockRunning_, true))
        startTime_ = clock_.Now() -
                     std::chrono::duration_cast<thread::Clock::TimePoint::duration>(frozenElapsed_);
    const auto self = shared_from_this();
    lock.unlock();
    // The other way round than suspending: the work is told before anybody sees that it goes on.
    Both([&] { requests_.Emit(ERequest::Resume); }, [&] { Publish(Lock(mutex_), Elapsed::Keep); });
}

void ProgressStateImpl::SetName(std::wstring const& name) {
    Change(state_.name, name, Elapsed::Keep);
}

void ProgressStateImpl::SetText(std::wstring const& text) {
    Change(state_.text, text, Elapsed::Refresh);
}

void ProgressStateImpl::SetNote(std::optional<std::wstring> ProgressState::*note,
                                std::optional<std::wstring> const& value) {
    Change(state_.*note, value, Elapsed::Refresh);
}

void ProgressStateImpl::SetCancelable(bool cancelable) {
    Change(cancelable_, cancelable, Elapsed::Keep);
}

void ProgressStateImpl::SetSuspendable(bool suspendable) {
    Change(suspendable_, suspendable, Elapsed::Keep);
}

void ProgressStateImpl::SetUserValue(unsigned int value) {
    Change(userValue_, value, Elapsed::Keep);
}

void ProgressStateImpl::SetMeasure(std::optional<double> measure) {
    Change(state_.measure, measure, Elapsed::Keep);
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
    const Lock lock(mutex_);
    const double before = std::exchange(lastSeen, publishedProgress_);
    if (publishedProgress_ == before)
        return {};
    return publishedProgress_ - before;
}

bool ProgressStateImpl::CanCancelNow() const noexcept {
    return cancelable_ &&
           (status_ == EProgressStatus::Active || status_ == EProgressStatus::Suspended);
}

bool ProgressStateImpl::CanSuspendNow() const noexcept {
    return suspendable_ && status_ == EProgressStatus::Active;
}

void ProgressStateImpl::Publish(Lock lock, Elapsed elapsed) {
    state_.status = status_ == EProgressStatus::Active && indeterminateDepth_ > 0
                        ? EProgressStatus::Indeterminate
                        : status_;
    if (elapsed == Elapsed::Refresh)
        state_.elapsed = Seconds(clockRunning_ ? clock_.Now() - startTime_ : frozenElapsed_);
    publishedProgress_ = state_.progress;
    const auto audience = states_.Store(state_);
    if (!audience)
        return;
    const ProgressState published = state_;
    const auto self = shared_from_this();
    lock.unlock();
    states_.Deliver(published, audience);
}

template <class Value>
void ProgressStateImpl::Change(Value& field, Value const& value, Elapsed elapsed) {
    Lock lock(mutex_);
    if (field == value)
        return;
    field = value;
    Publish(std::move(lock), elapsed);
}

void ProgressStateImpl::EnterIndeterminate() {
    Lock lock(mutex_);
    if (++indeterminateDepth_ == 1)
        Publish(std::move(lock), Elapsed::Keep);
}

void ProgressStateImpl::LeaveIndeterminate() {
    Lock lock(mutex_);
    if (--indeterminateDepth_ == 0)
        Publish(std::move(lock), Elapsed::Keep);
}

} // namespace kq::progress
