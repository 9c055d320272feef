// The work of the program, as it is seen from outside.
#pragma once

#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace find_duplicates {

/// The work was asked to cancel.
struct Cancelled {};

/// How finely progress is published.
constexpr double progressGranularity = 0.001;

/// The root of all progress, and what the work does with requests: it stops in `Pass` while it is
/// suspended, and ends there once it is cancelled.
///
/// The state that observers see is filled in as follows: `text` names the step; `note1` says what
/// has been done in it, `note2` all that there is to do, as far as it is known; `measure` is the
/// number of seconds that the step will take yet, when that can be told.
class Work {
public:
    Work();

    /// For one thread.
    kq::progress::IProgressRoot& Root() noexcept { return *root_; }
    /// A handle for observers, on any thread.
    std::shared_ptr<kq::progress::IProgressSignaler> Signaler() const noexcept { return signaler_; }

    /// To be called often, by all who work, on any thread. Throws `Cancelled`.
    void Pass() { gate_->Pass(); }

private:
    class Gate {
    public:
        void Pass();
        void OnRequest(kq::progress::ERequest request);

    private:
        std::mutex mutex_;
        std::condition_variable changed_;
        bool isSuspended_ = false;
        bool isCancelled_ = false;
    };

    const std::shared_ptr<Gate> gate_; // of the listener too: a request may come in the last moment
    const std::unique_ptr<kq::progress::IProgressRoot> root_;
    const std::shared_ptr<kq::progress::IProgressSignaler> signaler_;
    const std::shared_ptr<void> requests_;
};

} // namespace find_duplicates
