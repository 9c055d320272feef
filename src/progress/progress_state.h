// The state that all progress objects and signalers of a root share.
#pragma once

#include <kq/progress/progress.h>
#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>
#include <kq/thread/annotations.h>
#include <kq/thread/spin_mutex.h>

#include "thread/clock.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
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
    enum class Elapsed : bool { Keep, Refresh };

    struct Settings {
        bool cancelable;
        bool suspendable;
        unsigned int userValue;
    };
    /// A state that is published under the mutex, and told when that is free again.
    struct Publication {
        struct News {
            ProgressState state;
            signal::CBehaviorSignaler<ProgressState>::Audience audience;
        };
        std::optional<News> news;   ///< none when nobody listens
        std::exception_ptr failure; ///< it could not be made
    };

    bool CanCancelNow() const noexcept KQ_REQUIRES(mutex_);
    bool CanSuspendNow() const noexcept KQ_REQUIRES(mutex_);

    /// Publishes the state as it is.
    void Publish(Publication& publication, Elapsed elapsed) noexcept KQ_REQUIRES(mutex_);
    /// Calls those who listen. Throws what they throw, and the failure.
    void Tell(const Publication& publication) KQ_EXCLUDES(mutex_);
    void PublishAndTell(Elapsed elapsed) KQ_EXCLUDES(mutex_);
    /// Sets a field of a guarded part and publishes, unless it is equal already.
    template <class Part, class Value>
    void Change(Part ProgressStateImpl::*part, Value Part::*field, Value const& value,
                Elapsed elapsed) KQ_EXCLUDES(mutex_);
    void EnterIndeterminate();
    void LeaveIndeterminate();

    thread::Clock& clock_;
    const double granularity_;
    const std::optional<std::wstring> userText_;

    mutable thread::spin_mutex mutex_;
    // Its status and `elapsed` as last published.
    ProgressState state_ KQ_GUARDED_BY(mutex_);
    double publishedProgress_ KQ_GUARDED_BY(mutex_) = 0.0;
    std::uint32_t indeterminateDepth_ KQ_GUARDED_BY(mutex_) = 0;
    // Never Indeterminate.
    EProgressStatus status_ KQ_GUARDED_BY(mutex_) = EProgressStatus::Active;
    bool clockRunning_ KQ_GUARDED_BY(mutex_) = true;
    thread::Clock::TimePoint startTime_ KQ_GUARDED_BY(mutex_);
    std::chrono::nanoseconds frozenElapsed_ KQ_GUARDED_BY(mutex_){0};
    Settings settings_ KQ_GUARDED_BY(mutex_);

    signal::CBehaviorSignaler<ProgressState> states_;
    signal::CSignaler<ERequest> requests_;
};

} // namespace kq::progress
