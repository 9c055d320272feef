#include "progress/progress_impl.h"

#include "progress/both.h"
#include "progress/progress_state.h"
#include "progress/upstream_link.h"

#include <algorithm>
#include <utility>

namespace kq::progress {

template <bool Root>
ProgressImpl<Root>::ProgressImpl(std::shared_ptr<ProgressStateImpl> state, double weight) noexcept
    : weight_(weight), state_(std::move(state)) {}

template <bool Root>
ProgressImpl<Root>::~ProgressImpl() {
    try {
        End();
    } catch (...) { // an observer's; the state has changed all the same
    }
}

template <bool Root>
double ProgressImpl<Root>::GetRemaining() const {
    return 1.0 - done_;
}

template <bool Root>
std::unique_ptr<IProgressRoot> ProgressImpl<Root>::CreateChild(double share,
                                                               std::wstring const& text) {
    SetText(text);
    auto child = std::make_unique<ProgressImpl<false>>(state_, share * weight_);
    done_ = std::min(done_ + share, 1.0);
    return child;
}

template <bool Root>
void ProgressImpl<Root>::Finish() {
    if constexpr (Root)
        End();
    else
        Both([&] { End(); }, [&] { link_.reset(); });
}

template <bool Root>
void ProgressImpl<Root>::Fail(std::exception_ptr failure) {
    Both([&] { state_->Fail(std::move(failure)); }, [&] { link_.reset(); });
}

template <bool Root>
void ProgressImpl<Root>::Add(double amount) {
    done_ += amount;
    state_->Add(amount * weight_);
}

template <bool Root>
void ProgressImpl<Root>::Attach(IProgressRoot& child, double share) {
    if (&child == this)
        return;
    done_ = std::min(done_ + share, 1.0);
    const auto& childState = dynamic_cast<ProgressImpl<true>&>(child).State();
    SetText(childState->Get().name);
    // Not weighted with what this object itself is of the state.
    link_ = std::make_unique<UpstreamLink>(childState, state_, share);
}

template <bool Root>
void ProgressImpl<Root>::Raise(double value) {
    Add(std::max(value - done_, 0.0));
}

template <bool Root>
double ProgressImpl<Root>::GetDone() const {
    return done_;
}

template <bool Root>
void ProgressImpl<Root>::Set(double value) {
    const double step = value - done_;
    done_ = value;
    state_->Add(step * weight_);
}

template <bool Root>
std::shared_ptr<void> ProgressImpl<Root>::Indeterminate() {
    return state_->Indeterminate();
}

template <bool Root>
bool ProgressImpl<Root>::IsCancelling() const {
    return state_->IsCancelling();
}

template <bool Root>
std::shared_ptr<void> ProgressImpl<Root>::ConnectRequests(std::function<void(ERequest)> onRequest) {
    return state_->ConnectRequests(std::move(onRequest));
}

template <bool Root>
void ProgressImpl<Root>::SetName(std::wstring const& name) {
    if constexpr (Root)
        state_->SetName(name);
}

template <bool Root>
void ProgressImpl<Root>::SetText(std::wstring const& text) {
    if constexpr (Root)
        state_->SetText(text);
}

template <bool Root>
void ProgressImpl<Root>::SetNote1(std::optional<std::wstring> note) {
    SetNote(&ProgressState::note1, note);
}

template <bool Root>
void ProgressImpl<Root>::SetNote2(std::optional<std::wstring> note) {
    SetNote(&ProgressState::note2, note);
}

template <bool Root>
void ProgressImpl<Root>::SetNote3(std::optional<std::wstring> note) {
    SetNote(&ProgressState::note3, note);
}

template <bool Root>
void ProgressImpl<Root>::SetNote4(std::optional<std::wstring> note) {
    SetNote(&ProgressState::note4, note);
}

template <bool Root>
void ProgressImpl<Root>::SetCancelable(bool cancelable) {
    if constexpr (Root)
        state_->SetCancelable(cancelable);
}

template <bool Root>
void ProgressImpl<Root>::SetSuspendable(bool suspendable) {
    if constexpr (Root)
        state_->SetSuspendable(suspendable);
}

template <bool Root>
void ProgressImpl<Root>::SetUserValue(unsigned int value) {
    if constexpr (Root)
        state_->SetUserValue(value);
}

template <bool Root>
void ProgressImpl<Root>::SetMeasure(std::optional<double> measure) {
    state_->SetMeasure(measure);
}

template <bool Root>
void ProgressImpl<Root>::End() {
    if constexpr (Root)
        state_->Finish();
    else
        state_->Add((1.0 - done_) * weight_);
}

template <bool Root>
void ProgressImpl<Root>::SetNote(std::optional<std::wstring> ProgressState::*note,
                                 std::optional<std::wstring> const& value) {
    if constexpr (Root)
        state_->SetNote(note, value);
}

template class ProgressImpl<false>;
template class ProgressImpl<true>;

std::unique_ptr<IProgressRoot> CreateRoot(thread::Clock& clock, std::wstring const& name,
                                          bool cancelable, bool suspendable, double granularity,
                                          unsigned int userValue,
                                          std::optional<std::wstring> userText) {
    return std::make_unique<ProgressImpl<true>>(
        std::make_shared<ProgressStateImpl>(clock, name, cancelable, suspendable, granularity,
                                            userValue, std::move(userText)),
        1.0);
}

std::unique_ptr<IProgressRoot> Create(std::wstring const& name, bool cancelable, bool suspendable,
                                      double granularity, unsigned int userValue,
                                      std::optional<std::wstring> userText) {
    return CreateRoot(thread::SteadyClock(), name, cancelable, suspendable, granularity, userValue,
                      std::move(userText));
}

} // namespace kq::progress
