#include <kq/error/crash_dump.h>
#include <kq/error/error_reporter.h>

#include "error/dump_file.h"
#include "error/dump_setting.h"

#include <memory>
#include <string>
#include <utility>

namespace kq::error {

namespace {

// Never changed once it is there. What the filter needs is made ahead: it may have no heap.
struct DumpSetting {
    explicit DumpSetting(boost::filesystem::path thePath)
        : path(std::move(thePath)),
          dumpFile(boost::filesystem::path(path).replace_extension(L".dmp").wstring()) {}

    const boost::filesystem::path path;
    const boost::optional<std::wstring> dumpFile;
};

// A filter holds a copy of what it uses, so a new setting takes nothing away from it.
Singleton<const DumpSetting, std::shared_ptr> dumpSetting;

boost::shared_ptr<ErrorReporter> TheReporter() {
    boost::shared_ptr<ErrorReporter> reporter = errorReporter.GetShared();
    // Throws, unless another thread has installed one meanwhile.
    while (reporter == nullptr) {
        errorReporter.Get();
        reporter = errorReporter.GetShared();
    }
    return reporter;
}

} // namespace

boost::optional<boost::filesystem::path> GetDumpFilePath() {
    if (const auto setting = dumpSetting.GetShared())
        return setting->path;
    return {};
}

void SetDumpFilePath(boost::optional<boost::filesystem::path> const& path) {
    if (path)
        dumpSetting = std::make_shared<const DumpSetting>(*path);
    else
        dumpSetting.Reset();
}

void ReleaseDumpSetting() { dumpSetting.Reset(); }

long detail::ExcDump(unsigned long code, EXCEPTION_POINTERS* pointers) {
    if (pointers == nullptr)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::shared_ptr<const DumpSetting> setting = dumpSetting.GetShared();
    const bool isDumped = setting != nullptr && WriteDumpFile(setting->dumpFile->c_str(), pointers);
    const boost::optional<std::wstring> none;
    TheReporter()->ReportStructuredException(code, *pointers, isDumped ? setting->dumpFile : none);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace kq::error
