// From any thread to the window, not more often than people see.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace duplicate_finder {

/// Brings the window up to date, soon after it was asked to. Threads that work may ask as often as
/// they like: the UI thread has time for input in between.
///
///     worker:     Request, Request, Request, ...
///     timed job:  after 100 ms, queues one UI job
///     UI job:     shows whatever is new by then
class UiUpdate : public std::enable_shared_from_this<UiUpdate> {
public:
    /// `update` is called on the UI thread, where `Stop` has to be called too.
    explicit UiUpdate(std::function<void()> update);

    /// On any thread. Throws what registering a timed job throws.
    void Request();
    /// Ends the updates, also those that have been asked for: what `update` refers to may go now.
    void Stop() noexcept { update_ = nullptr; }

private:
    void Run();

    std::function<void()> update_;
    std::atomic<bool> isRequested_{false};
};

} // namespace duplicate_finder
