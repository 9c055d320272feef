#include "process/report_plugin.h"

#include <kq/kq.h>

#include "process/simulated_crash.h"

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using kq::error::errorReporter;
using kq::error::exceptionNormalizer;

namespace {

// Released when the library is, which is before kq goes.
std::vector<boost::shared_ptr<boost::signals2::scoped_connection>>& Handles() {
    static std::vector<boost::shared_ptr<boost::signals2::scoped_connection>> handles;
    return handles;
}

void ReportAll() {
    try {
        throw std::runtime_error("reported");
    } catch (const std::runtime_error&) {
        errorReporter->ReportCurrentException();
        exceptionNormalizer->NormalizeCurrentException();
    }
    SimulateCrash();
}

} // namespace

extern "C" {

__declspec(dllexport) void Connect(long* counter) {
    const auto count = [counter] { ++*counter; };
    Handles().push_back(errorReporter->AddReporter(count));
    Handles().push_back(exceptionNormalizer->AddNormalizer(count));
    Handles().push_back(
        errorReporter->AddSEReporter([count](unsigned long, EXCEPTION_POINTERS const&,
                                             boost::optional<std::wstring> const&) { count(); }));
}

__declspec(dllexport) void Disconnect() { Handles().clear(); }

__declspec(dllexport) void Report() { ReportAll(); }

__declspec(dllexport) void SetDumpPath(const wchar_t* path) {
    kq::error::SetDumpFilePath(boost::filesystem::path(path));
}

__declspec(dllexport) void ReportForever() {
    std::thread([] {
        for (;;)
            ReportAll();
    }).detach();
}
}
