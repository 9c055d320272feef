// Where an application learns of exceptions that nobody could handle, and of crashes.
#pragma once

#include <kq/export.h>
#include <kq/shared_ref.h>
#include <kq/singleton.h>
#include <kq/win32/types.h>

#include <boost/function.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <memory>
#include <string>

namespace kq {
namespace error {

class ErrorReporterImpl;

/// Calls the reporters that the application connected. What a report means, such as a line in a log
/// or a dialog, is their business: this class does not log, show or even look at anything.
///
/// Every operation may be called from any thread at once. Reporters are called on the thread that
/// reports, in the order in which they were connected, and no lock is held meanwhile: a reporter
/// may connect and disconnect reporters, also itself, may report in its turn, and may shut the
/// library down. One that is connected during a report takes part from the next report on; one that
/// is disconnected during a report and has not been called yet is not called. Two reports at the
/// same time call their reporters at the same time.
///
/// A reporter should not throw: its exception ends the report and goes to the caller of it.
class ErrorReporter {
public:
    /// A new reporter that nothing is connected to. Throws `std::bad_alloc`.
    KQ_API static shared_ref<ErrorReporter, boost::shared_ptr> Create();

    ErrorReporter(const ErrorReporter&) = delete;
    ErrorReporter& operator=(const ErrorReporter&) = delete;

    /// Connects `reporter`, behind all others, to the reports of exceptions. It is called with no
    /// arguments while the exception is being handled, and learns what was thrown by rethrowing it
    /// (`throw;`) inside a try block of its own.
    ///
    /// It stays connected for as long as a copy of the result is held: a caller that drops the
    /// result at once has connected nothing. A call that is under way on another thread when the
    /// last copy goes may go on for a while. The result may outlive the reporter object, but not
    /// the library.
    ///
    /// Throws `std::bad_alloc`, and then nothing is connected. An empty function is connected too;
    /// the report that comes to it ends with `boost::bad_function_call`.
    KQ_API boost::shared_ptr<boost::signals2::scoped_connection> AddReporter(
        boost::function<void()> const& reporter);

    /// As `AddReporter`, for the reports of structured exceptions. `reporter` is called with the
    /// three arguments of `ReportStructuredException`. It often runs in a process that is about to
    /// end, perhaps with a broken heap or little stack: it should do little, and must not crash.
    KQ_API boost::shared_ptr<boost::signals2::scoped_connection> AddSEReporter(
        boost::function<void(unsigned long code, _EXCEPTION_POINTERS const& pointers,
                             boost::optional<std::wstring> const& dumpFile)> const& reporter);

    /// Reports the exception that is being handled: to be called inside a catch block. Returns when
    /// every reporter has returned; the exception is handled as it was before. Does nothing when no
    /// reporter is connected. Throws what a reporter throws; those behind it are then not called.
    ///
    /// Outside a catch block the reporters are called all the same, and one that rethrows ends the
    /// process.
    KQ_API void ReportCurrentException();

    /// Reports a structured exception in the same way: `code` and `pointers` as its filter received
    /// them, valid during the call only, and `dumpFile`, the full name of the minidump that was
    /// written for it, empty when there is none. `detail::ExcDump` (crash_dump.h) calls this.
    KQ_API void ReportStructuredException(unsigned long code, _EXCEPTION_POINTERS const& pointers,
                                          boost::optional<std::wstring> const& dumpFile);

private:
    ErrorReporter();
    ~ErrorReporter();
    static void Destroy(ErrorReporter* reporter);

    std::unique_ptr<ErrorReporterImpl> impl_;
};

/// The reporter of the process. Installed while the library is attached; released by its shutdown,
/// with all that was connected to it.
extern KQ_API Singleton<ErrorReporter, boost::shared_ptr> errorReporter;

} // namespace error
} // namespace kq
