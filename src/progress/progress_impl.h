// The progress objects that the library hands out.
#pragma once

#include <kq/progress/progress.h>

#include "thread/clock.h"

#include <memory>
#include <optional>
#include <string>

namespace kq::progress {

class ProgressStateImpl;
class UpstreamLink;

/// A root, or a share of another progress object. Only a root sets texts, flags and notes, finishes
/// the state and can be attached.
template <bool Root>
class ProgressImpl final : public IProgressRoot {
public:
    ProgressImpl(std::shared_ptr<ProgressStateImpl> state, double weight) noexcept;
    ~ProgressImpl() override;
    ProgressImpl(const ProgressImpl&) = delete;
    ProgressImpl& operator=(const ProgressImpl&) = delete;

    const std::shared_ptr<ProgressStateImpl>& State() const noexcept { return state_; }

    double GetRemaining() const override;
    std::unique_ptr<IProgressRoot> CreateChild(double share, std::wstring const& text) override;
    void Finish() override;
    void Fail(std::exception_ptr failure) override;
    void Add(double amount) override;
    void Attach(IProgressRoot& child, double share) override;
    void Raise(double value) override;
    double GetDone() const override;
    void Set(double value) override;
    std::shared_ptr<void> Indeterminate() override;
    bool IsCancelling() const override;
    std::shared_ptr<void> ConnectRequests(std::function<void(ERequest)> onRequest) override;

    void SetName(std::wstring const& name) override;
    void SetText(std::wstring const& text) override;
    void SetNote1(std::optional<std::wstring> note) override;
    void SetNote2(std::optional<std::wstring> note) override;
    void SetNote3(std::optional<std::wstring> note) override;
    void SetNote4(std::optional<std::wstring> note) override;
    void SetCancelable(bool cancelable) override;
    void SetSuspendable(bool suspendable) override;
    void SetUserValue(unsigned int value) override;
    void SetMeasure(std::optional<double> measure) override;

private:
    void End();
    void SetNote(std::optional<std::wstring> ProgressState::*note,
                 std::optional<std::wstring> const& value);

    std::unique_ptr<UpstreamLink> link_; // at most one thing is attached
    const double weight_;                // what 1.0 of this object is of the whole state
    const std::shared_ptr<ProgressStateImpl> state_;
    double done_ = 0.0;
};

/// `Create`, with the clock that `ProgressState::elapsed` is read off.
std::unique_ptr<IProgressRoot> CreateRoot(thread::Clock& clock, std::wstring const& name,
                                          bool cancelable, bool suspendable, double granularity,
                                          unsigned int userValue,
                                          std::optional<std::wstring> userText);

} // namespace kq::progress
