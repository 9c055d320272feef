// The crash filter when the heap gives nothing any more.
#include <windows.h>

#include <kq/error/crash_dump.h>
#include <kq/error/error_reporter.h>

#include "support/failing_heap.h"
#include "support/minidump.h"
#include "support/open_symbols.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <boost/filesystem/path.hpp>
#include <boost/none.hpp>
#include <boost/optional.hpp>

#include <string>

using kq::error::errorReporter;

namespace {

TEST(ACrashWithoutMemory, IsDumpedAndReported) {
    OpenSymbols();
    TemporaryFolder folder;
    const std::wstring name = folder.NewFile(L"a name too long to stand inside a string.dmp");
    kq::error::SetDumpFilePath(boost::filesystem::path(name));
    errorReporter = kq::error::ErrorReporter::Create();
    const std::wstring* reported = nullptr;
    const auto handle = errorReporter->AddSEReporter(
        [&](unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const& file) {
            if (file && *file == name)
                reported = &*file;
        });
    CONTEXT context{};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = STATUS_NO_MEMORY;
    EXCEPTION_POINTERS pointers{&record, &context};
    {
        const kq_test::FailingHeap heap(0);
        kq::error::detail::ExcDump(STATUS_NO_MEMORY, &pointers);
    }
    EXPECT_NE(reported, nullptr);
    EXPECT_EQ(kq_test::Minidump::Read(name).Exception().ExceptionRecord.ExceptionCode,
              static_cast<DWORD>(STATUS_NO_MEMORY));
    errorReporter.Reset();
    kq::error::SetDumpFilePath(boost::none);
}

} // namespace
