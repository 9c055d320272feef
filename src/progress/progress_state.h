// The state that all progress objects and signalers of a root share.
#pragma once

#include <kq/progress/progress.h>
#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>
#include <kq/thread/spin_mutex.h>

#include "thread/clock.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kq::progress {

/// Changes are made under the mutex and told without it: whoever is called may call back, and may
/// drop the last handle on the state.
class ProgressStateImpl final : public std::enable_shared_from_this<ProgressStateImpl> {
public:
    ProgressStateImpl(thread::Clock& clock, std::wstring const& name, bool cancelable,
                      bool suspendable, double granularity, unsigned int userValue,
                      std::optional<std::wstring> userText);

    ProgressState Get() const;
    unsigned int UserValue() const;
    std::optional<std::wstring> UserText() const;
    bool CanCancel() const;
    bool CanSuspend() const;
    bool IsCancelling() const;

    void Add(double delta);
    void Finish();
    void Fail(std::exception_ptr failure);

    void Cancel();
    void Suspend();
    void Resume();

    void SetName(std::wstring const& name);
    void SetText(std::wstring const& text);
    /// `note` is one of the four members.
    void SetNote(std::optional<std::wstring> ProgressState::*note,
                 std::optional<std::wstring> const& value);
    void SetCancelable(bool cancelable);
    void SetSuspendable(bool suspendable);
    void SetUserValue(unsigned int value);
    void SetMeasure(std::optional<double> measure);

    /// See `IProgress::Indeterminate`.
    std::shared_ptr<void> Indeterminate();

    signal::Connection ConnectStates(std::function<void(ProgressState const&)> onState,
                                     std::function<void(std::exception_ptr)> onFailure = {},
                                     std::function<void()> onCompletion = {});
    signal::Connection ConnectRequests(std::function<void(ERequest)> onRequest);

    /// By how much the published fraction is ahead of `lastSeen`, which it then equals; nothing
    /// when it equalled it before. One look under the mutex, so that it does not matter in which
    /// order publications arrive, or one within another: nothing counts twice, and whoever comes
    /// last leaves the newest.
    std::optional<double> CatchUp(double& lastSeen) const;

private:
    using Lock = std::unique_lock<thread::spin_mutex>;
    enum class Elapsed : bool { Keep, Refresh };

    bool CanCancelNow() const noexcept;
    bool CanSuspendNow() const noexcept;

    /// Publishes the state as it is, and releases `lock` before anybody is called.
    void Publish(Lock lock, Elapsed elapsed);
    /// Sets a guarded field and publishes, unless it is equal already.
    template <class Value>
    void Change(Value& field, Value const& value, Elapsed elapsed);
    void EnterIndeterminate();
    void LeaveIndeterminate();

    thread::Clock& clock_;
    const double granularity_;
    const std::optional<std::wstring> userText_;

    mutable thread::spin_mutex mutex_; // guards the following, up to the channels
    ProgressState state_;              // its status and `elapsed` as last published
    double publishedProgress_ = 0.0;
    std::uint32_t indeterminateDepth_ = 0;
    EProgressStatus status_ = EProgressStatus::Active; // never Indeterminate
    bool clockRunning_ = true;
    thread::Clock::TimePoint startTime_;
    std::chrono::nanoseconds frozenElapsed_{0};
    bool cancelable_;
    bool suspendable_;
    unsigned int userValue_;

    signal::CBehaviorSignaler<ProgressState> states_;
    signal::CSignaler<ERequest> requests_;
};

} // namespace kq::progress
