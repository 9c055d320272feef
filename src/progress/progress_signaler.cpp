#include <kq/progress/progress_signaler.h>

#include "progress/progress_impl.h"
#include "progress/progress_state.h"
#include "progress/scope.h"

#include <memory>
#include <utility>

namespace kq::progress {

namespace {

class CProgressSignaler final : public IProgressSignaler {
public:
    explicit CProgressSignaler(std::shared_ptr<ProgressStateImpl> state) noexcept
        : state_(std::move(state)) {}

    const std::shared_ptr<ProgressStateImpl>& Observed() const noexcept { return state_; }

    ProgressState GetState() const override { return state_->Get(); }
    bool CanCancel() const override { return state_->CanCancel(); }
    void Cancel() override { state_->Cancel(); }
    bool CanSuspend() const override { return state_->CanSuspend(); }
    void SuspendNow() override { state_->Suspend(); }
    void ResumeNow() override { state_->Resume(); }

    std::shared_ptr<void> Suspend() override {
        return MakeScope([this] { state_->Suspend(); },
                         [state = std::weak_ptr(state_)] {
                             if (const auto suspended = state.lock())
                                 suspended->Resume();
                         });
    }

    unsigned int GetUserValue() const override { return state_->UserValue(); }
    std::optional<std::wstring> GetUserText() const override { return state_->UserText(); }

    std::shared_ptr<void> Connect(std::function<void(ProgressState const&)> onState,
                                  std::function<void(std::exception_ptr)> onFailure,
                                  std::function<void()> onCompletion) override {
        return state_->ConnectStates(std::move(onState), std::move(onFailure),
                                     std::move(onCompletion));
    }

private:
    std::shared_ptr<ProgressStateImpl> state_;
};

const ProgressStateImpl* Observed(IProgressSignaler const& signaler) {
    return dynamic_cast<CProgressSignaler const&>(signaler).Observed().get();
}

} // namespace

std::unique_ptr<IProgressSignaler> CreateSignaler(IProgressRoot& root) {
    return std::make_unique<CProgressSignaler>(dynamic_cast<ProgressImpl<true>&>(root).State());
}

bool operator==(IProgressSignaler const& left, IProgressSignaler const& right) {
    return Observed(left) == Observed(right);
}

bool operator!=(IProgressSignaler const& left, IProgressSignaler const& right) {
    return !(left == right);
}

} // namespace kq::progress
