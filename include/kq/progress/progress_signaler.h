// The observer's side of long work.
#pragma once

#include <kq/export.h>
#include <kq/progress/progress.h>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kq {
namespace progress {

/// A handle on a root's state: watches it, and asks its work to suspend, resume or cancel. Stays
/// valid when the work has dropped its progress objects; the state is the final one then.
///
/// Every operation may be called from any thread, also by an observer that is being called and by a
/// listener to requests. Requests that the state refuses do nothing. What an observer or a listener
/// throws leaves the call that made it hear something; observers and listeners of the same change
/// that come after it in the same list are not called.
///
/// The order of the virtual functions is part of the binary interface.
class IProgressSignaler {
public:
    virtual ~IProgressSignaler() = default;
    IProgressSignaler(const IProgressSignaler&) = delete;
    IProgressSignaler& operator=(const IProgressSignaler&) = delete;

    /// The state as it is now; its status and `elapsed` are as of the last publication.
    virtual ProgressState GetState() const = 0;

    /// Whether `Cancel` would do something: the work can be cancelled, and is active or suspended.
    virtual bool CanCancel() const = 0;
    /// Asks the work to cancel. It goes on until it finishes or fails.
    virtual void Cancel() = 0;

    /// Whether `SuspendNow` would do something: the work can be suspended, and is active.
    virtual bool CanSuspend() const = 0;
    /// Asks the work to suspend, and stops the clock of `elapsed`.
    virtual void SuspendNow() = 0;
    /// Asks the work to go on, if it is suspended, whoever has suspended it.
    virtual void ResumeNow() = 0;

    /// `SuspendNow`, and when the result and all its copies are released, `ResumeNow`; does nothing
    /// then if the state is gone. Such scopes are not counted: the first one to end resumes the
    /// work, also one whose beginning had no effect.
    virtual std::shared_ptr<void> Suspend() = 0;

    /// The number given to `Create` or `SetUserValue`.
    virtual unsigned int GetUserValue() const = 0;
    /// The text given to `Create`.
    virtual std::optional<std::wstring> GetUserText() const { return {}; }

    /// Connects an observer for as long as the result, or a copy of it, is kept. `onState` is
    /// called with the last published state before this returns, and then with every one that is
    /// published, on the thread that makes the change; changes on two threads may call it at the
    /// same time. When it is empty, publications throw `std::bad_function_call`. `onFailure` is
    /// told the exception that the work failed with, and `onCompletion` that it has finished or was
    /// cancelled; both may be empty, and are called at once when it is over already.
    virtual std::shared_ptr<void> Connect(std::function<void(ProgressState const&)> onState,
                                          std::function<void(std::exception_ptr)> onFailure = {},
                                          std::function<void()> onCompletion = {}) = 0;

protected:
    IProgressSignaler() = default;
};

/// A handle on the state of `root`, which has to come from `Create`: on an object from
/// `CreateChild` and on another implementation throws `std::bad_cast`.
KQ_API std::unique_ptr<IProgressSignaler> CreateSignaler(IProgressRoot& root);

/// Whether both are handles on the same state, not only on equal ones. Throw `std::bad_cast` on
/// another implementation.
KQ_API bool operator==(IProgressSignaler const& left, IProgressSignaler const& right);
/// The opposite.
KQ_API bool operator!=(IProgressSignaler const& left, IProgressSignaler const& right);

} // namespace progress
} // namespace kq
