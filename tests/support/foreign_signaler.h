// An observer's handle that is not the library's.
#pragma once

#include <kq/progress/progress_signaler.h>

#include <exception>
#include <functional>
#include <memory>

namespace kq_test {

/// Observes nothing.
class ForeignSignaler : public kq::progress::IProgressSignaler {
public:
    kq::progress::ProgressState GetState() const override { return {}; }
    bool CanCancel() const override { return false; }
    void Cancel() override {}
    bool CanSuspend() const override { return false; }
    void SuspendNow() override {}
    void ResumeNow() override {}
    std::shared_ptr<void> Suspend() override { return {}; }
    unsigned int GetUserValue() const override { return 0; }
    std::shared_ptr<void> Connect(
        std::function<void(kq::progress::ProgressState const&)> /*onState*/,
        std::function<void(std::exception_ptr)> /*onFailure*/,
        std::function<void()> /*onCompletion*/) override {
        return {};
    }
};

} // namespace kq_test
