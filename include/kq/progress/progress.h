// How far long work has come.
#pragma once

#include <kq/export.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kq {
namespace progress {

/// Where the work of a root stands.
enum class EProgressStatus : std::uint32_t {
    Active = 0,        ///< running, and the fraction is meaningful
    Indeterminate = 1, ///< running, with at least one indeterminate phase open
    Finished = 2,      ///< finished normally
    Cancelling = 3,    ///< asked to cancel, and still running
    Cancelled = 4,     ///< finished after it was asked to cancel
    Failed = 5,        ///< ended by a failure
    Suspended = 6,     ///< suspended on request
};

/// What observers ask of the work.
enum class ERequest : std::uint32_t {
    Suspend = 0,
    Resume = 1,
    Cancel = 2,
};

/// What observers of a root get to see.
struct ProgressState {
    EProgressStatus status = EProgressStatus::Active; ///< where the work stands
    double progress = 0.0; ///< the fraction done: from 0, and never above 1
    /// Seconds that the work has run, in whole milliseconds, without the time for which it was
    /// suspended. As of the last change of the fraction, the texts or the end.
    double elapsed = 0.0;
    std::wstring name;                 ///< of the root
    std::wstring text;                 ///< of the current step
    std::optional<std::wstring> note1; ///< the notes are the owner's to use
    std::optional<std::wstring> note2; ///< the second one
    std::optional<std::wstring> note3; ///< the third one
    std::optional<std::wstring> note4; ///< the fourth one
    std::optional<double> measure; ///< the work's to use; 0 when it has finished while this is set
};

class IProgressRoot;

/// A piece of work as a part of a root's: what it adds to its own fraction, from 0 to 1, flows
/// into the root's, weighted with its share.
///
/// One progress object is used by one thread at a time; different objects of the same root may be
/// used on different threads at once. Every change is published to the observers on the thread that
/// makes it, without any lock held, before the call returns. What an observer throws leaves the
/// call; the change stays. Destructors swallow it. An observer must not destroy the object whose
/// call it is in.
///
/// Amounts and shares are not checked: the fraction of a root stops at 1.0, may fall below 0.0, and
/// becomes NaN when a NaN is added, for good until it finishes. Adding to a root that has finished
/// is allowed and mostly unseen.
///
/// The order of the virtual functions, here and below, is part of the binary interface.
class IProgress {
public:
    IProgress(const IProgress&) = delete;
    IProgress& operator=(const IProgress&) = delete;

    /// 1.0 minus `GetDone()`.
    virtual double GetRemaining() const = 0;

    /// Reserves `share` of this object's work (it counts as done here from now on, up to 1.0) for a
    /// part, and returns the part. On a root also sets the root's text to `text`; when an observer
    /// throws at that, nothing is reserved.
    virtual std::unique_ptr<IProgressRoot> CreateChild(double share, std::wstring const& text) = 0;

    /// Ends the work. On a root: the fraction becomes 1.0, `measure`, if set, 0.0, and the status
    /// `Finished`, or `Cancelled` if it was `Cancelling`; observers are told of the completion.
    /// Does nothing on a root that has finished or failed. On a share: adds what is missing in it
    /// to the root, leaves `GetDone()` as it is, and detaches what was attached.
    virtual void Finish() = 0;

    /// Ends the root's work with a failure: the status becomes `Failed`, whatever it was, and
    /// observers are told the exception. Detaches what was attached here.
    virtual void Fail(std::exception_ptr failure) = 0;

    /// Raises the own fraction by `amount`, which may be negative. Costs a lock and arithmetic,
    /// unless it is published: whenever the root's fraction reaches another multiple of the
    /// granularity. A decrease is not published by itself, unless the granularity is 0.
    virtual void Add(double amount) = 0;

    /// Lets the progress of another root flow into this object's root from now on, beginning with
    /// what it has reached, and reserves `share` here. The weight is `share` of the whole root,
    /// also when this object itself is a share. Cancelling either root cancels the other one. On a
    /// root also sets its text to the child's name. Replaces what was attached to this object
    /// before; what that has added stays.
    ///
    /// `child` has to come from `Create`, else `std::bad_cast` is thrown (`share` is reserved all
    /// the same). Attaching an object to itself does nothing. Roots must not be attached in a
    /// circle.
    virtual void Attach(IProgressRoot& child, double share) = 0;

    /// Raises the own fraction to `value`; does nothing to a higher one.
    virtual void Raise(double value) = 0;

    /// The own fraction.
    virtual double GetDone() const = 0;

    /// Sets the own fraction, also to a lower one; see `Add`.
    virtual void Set(double value) = 0;

    /// Opens a phase whose extent is not known, which lasts until the result and all its copies
    /// are released. While the root is active and such a phase is open, its published status is
    /// `Indeterminate`.
    virtual std::shared_ptr<void> Indeterminate() = 0;

    /// Whether the work was asked to cancel and has not ended yet.
    virtual bool IsCancelling() const = 0;

    /// Calls `onRequest` with every request to the root's work, for as long as the result is kept,
    /// on the thread that asks. The work hears `Suspend` and `Cancel` after the observers have seen
    /// the new status, and `Resume` before. An empty `onRequest` makes requests throw
    /// `std::bad_function_call`.
    virtual std::shared_ptr<void> ConnectRequests(std::function<void(ERequest)> onRequest) = 0;

    /// A share adds what is missing in it to the root, also when it was finished before: then
    /// twice. A root finishes.
    virtual ~IProgress() = default;

protected:
    IProgress() = default;
};

/// The whole of some work. Each setter publishes when the value differs from the current one. On an
/// object from `CreateChild` all but `SetMeasure` do nothing.
class IProgressRoot : public IProgress {
public:
    /// The name of the whole.
    virtual void SetName(std::wstring const& name) = 0;
    /// The text of the current step.
    virtual void SetText(std::wstring const& text) = 0;
    /// A note for whoever shows the progress; nothing removes it.
    virtual void SetNote1(std::optional<std::wstring> note) = 0;
    /// A second one.
    virtual void SetNote2(std::optional<std::wstring> note) = 0;
    /// A third one.
    virtual void SetNote3(std::optional<std::wstring> note) = 0;
    /// A fourth one.
    virtual void SetNote4(std::optional<std::wstring> note) = 0;
    /// Whether observers can cancel the work.
    virtual void SetCancelable(bool cancelable) = 0;
    /// Whether observers can suspend the work.
    virtual void SetSuspendable(bool suspendable) = 0;
    /// See `IProgressSignaler::GetUserValue`.
    virtual void SetUserValue(unsigned int value) = 0;
    /// A figure of the work's own, such as a rate. A NaN differs from everything, itself included.
    virtual void SetMeasure(std::optional<double> measure) = 0;
};

/// Makes the root of some work. Observers come in through `CreateSignaler`.
///
/// `granularity` is the step in which the fraction is published: with 0.01 each time that it
/// crosses a whole percent upwards; with 0 at every change. `userValue` and `userText` are
/// handed to observers who ask for them, and mean nothing to the library.
KQ_API std::unique_ptr<IProgressRoot> Create(std::wstring const& name, bool cancelable,
                                             bool suspendable, double granularity,
                                             unsigned int userValue,
                                             std::optional<std::wstring> userText);

} // namespace progress
} // namespace kq
