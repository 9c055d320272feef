#include <kq/error/error_reporter.h>

#include "error/callbacks.h"

#include <windows.h>

namespace kq::error {

class ErrorReporterImpl {
public:
    Callbacks<void()> reporters;
    Callbacks<void(unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const&)>
        structuredReporters;
};

Singleton<ErrorReporter, boost::shared_ptr> errorReporter;

ErrorReporter::ErrorReporter() : impl_(std::make_unique<ErrorReporterImpl>()) {}
ErrorReporter::~ErrorReporter() = default;

shared_ref<ErrorReporter, boost::shared_ptr> ErrorReporter::Create() {
    return boost::shared_ptr<ErrorReporter>(new ErrorReporter, &ErrorReporter::Destroy);
}

void ErrorReporter::Destroy(ErrorReporter* reporter) { delete reporter; }

boost::shared_ptr<boost::signals2::scoped_connection> ErrorReporter::AddReporter(
    boost::function<void()> const& reporter) {
    return impl_->reporters.Add(reporter);
}

boost::shared_ptr<boost::signals2::scoped_connection> ErrorReporter::AddSEReporter(
    boost::function<void(unsigned long, EXCEPTION_POINTERS const&,
                         boost::optional<std::wstring> const&)> const& reporter) {
    return impl_->structuredReporters.Add(reporter);
}

void ErrorReporter::ReportCurrentException() { impl_->reporters.Call(); }

void ErrorReporter::ReportStructuredException(unsigned long code,
                                              EXCEPTION_POINTERS const& pointers,
                                              boost::optional<std::wstring> const& dumpFile) {
    impl_->structuredReporters.Call(code, pointers, dumpFile);
}

} // namespace kq::error
