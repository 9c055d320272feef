#include <windows.h>

#include <kq/error/crash_dump.h>
#include <kq/error/error_reporter.h>

#include "support/hand_shake.h"
#include "support/minidump.h"
#include "support/open_symbols.h"
#include "support/temporary_folder.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/filesystem/path.hpp>
#include <boost/none.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

using kq::error::ErrorReporter;
using kq::error::errorReporter;
using kq::error::GetDumpFilePath;
using kq::error::SetDumpFilePath;
using kq::error::detail::ExcDump;
using kq_test::Minidump;
using Path = boost::filesystem::path;
using Handle = boost::shared_ptr<boost::signals2::scoped_connection>;

namespace {

constexpr unsigned long someCode = 0xE0001234;

std::wstring DumpFilePath() {
    const boost::optional<Path> path = GetDumpFilePath();
    return path ? path->wstring() : L"none";
}

bool Exists(const std::wstring& name) {
    return GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class CrashDump : public testing::Test {
protected:
    CrashDump() {
        OpenSymbols();
        RtlCaptureContext(&context_);
        record_.ExceptionCode = someCode;
        record_.ExceptionAddress = reinterpret_cast<void*>(context_.Rip);
        reporting_ = errorReporter->AddSEReporter(
            [this](unsigned long code, EXCEPTION_POINTERS const& pointers,
                   boost::optional<std::wstring> const& file) {
                ++reports_;
                code_ = code;
                reported_ = &pointers;
                dumpFile_ = file.value_or(L"none");
            });
    }
    ~CrashDump() override { SetDumpFilePath(boost::none); }

    // Dumps with the setting `name` in the folder of the test; returns the name that is reported.
    std::wstring DumpTo(const std::wstring& name) {
        SetDumpFilePath(Path(folder_.Path() + L'\\' + name));
        EXPECT_EQ(ExcDump(someCode, &pointers_), EXCEPTION_CONTINUE_SEARCH);
        return dumpFile_;
    }

    TemporaryFolder folder_;
    CONTEXT context_{};
    EXCEPTION_RECORD record_{};
    EXCEPTION_POINTERS pointers_{&record_, &context_};
    int reports_ = 0;
    unsigned long code_ = 0;
    const EXCEPTION_POINTERS* reported_ = nullptr;
    std::wstring dumpFile_;

private:
    Handle reporting_;
};

TEST_F(CrashDump, IsOffFromTheStart) { EXPECT_EQ(DumpFilePath(), L"none"); }

TEST_F(CrashDump, HasTheSettingThatWasMadeLast) {
    SetDumpFilePath(Path(L"C:\\dumps\\app.log"));
    EXPECT_EQ(DumpFilePath(), L"C:\\dumps\\app.log");
    SetDumpFilePath(Path(L"app"));
    EXPECT_EQ(DumpFilePath(), L"app");
    SetDumpFilePath(Path());
    EXPECT_EQ(DumpFilePath(), L"");
    SetDumpFilePath(boost::none);
    EXPECT_EQ(DumpFilePath(), L"none");
}

TEST_F(CrashDump, IsNotWrittenWithoutASettingButTheCrashIsReported) {
    EXPECT_EQ(ExcDump(someCode, &pointers_), 0);
    EXPECT_EQ(reports_, 1);
    EXPECT_EQ(code_, someCode);
    EXPECT_EQ(reported_, &pointers_);
    EXPECT_EQ(dumpFile_, L"none");
}

TEST_F(CrashDump, IsNotWrittenAnyMoreWhenItWasSwitchedOff) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    SetDumpFilePath(Path(name));
    SetDumpFilePath(boost::none);
    EXPECT_EQ(ExcDump(someCode, &pointers_), 0);
    EXPECT_EQ(dumpFile_, L"none");
    EXPECT_FALSE(Exists(name));
}

TEST_F(CrashDump, IsNothingWithoutPointers) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    SetDumpFilePath(Path(name));
    EXPECT_EQ(ExcDump(someCode, nullptr), 0);
    EXPECT_EQ(reports_, 0);
    EXPECT_FALSE(Exists(name));
}

TEST_F(CrashDump, GoesToTheSettingWithItsExtensionReplaced) {
    const auto dumpOf = [&](const std::wstring& name) {
        const std::wstring reported = DumpTo(name);
        EXPECT_TRUE(Exists(reported)) << Path(reported);
        return reported.substr(reported.find_last_of(L'\\') + 1);
    };
    folder_.NewFile(L"app.dmp");
    folder_.NewFile(L"app.log.dmp");
    folder_.NewFile(L".dmp");
    folder_.NewFile(L"\u00e4\u4e2d \U0001f4a5.dmp");
    EXPECT_EQ(dumpOf(L"app.log"), L"app.dmp");
    EXPECT_EQ(dumpOf(L"app"), L"app.dmp");
    EXPECT_EQ(dumpOf(L"app.dmp"), L"app.dmp");
    EXPECT_EQ(dumpOf(L"app."), L"app.dmp");
    EXPECT_EQ(dumpOf(L"app.log.1"), L"app.log.dmp");
    EXPECT_EQ(dumpOf(L".log"), L".dmp");
    EXPECT_EQ(dumpOf(L"\u00e4\u4e2d \U0001f4a5.txt"), L"\u00e4\u4e2d \U0001f4a5.dmp");
    EXPECT_FALSE(Exists(folder_.Path() + L"\\app.log"));
    EXPECT_FALSE(Exists(folder_.Path() + L"\\app"));
}

TEST_F(CrashDump, IsReportedByItsFullName) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    EXPECT_EQ(DumpTo(L"app.log"), name);
    EXPECT_EQ(DumpFilePath(), folder_.Path() + L"\\app.log");
}

TEST_F(CrashDump, HoldsTheExceptionAndItsThread) {
    record_.NumberParameters = 2;
    record_.ExceptionInformation[0] = 1;
    record_.ExceptionInformation[1] = 0x123456789A;
    folder_.NewFile(L"app.dmp");
    std::uint32_t threadId = 0;
    std::thread([&] {
        threadId = GetCurrentThreadId();
        DumpTo(L"app");
    }).join();
    const Minidump dump = Minidump::Read(dumpFile_);
    const MINIDUMP_EXCEPTION_STREAM exception = dump.Exception();
    EXPECT_EQ(exception.ThreadId, threadId);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionCode, someCode);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionAddress, context_.Rip);
    ASSERT_EQ(exception.ExceptionRecord.NumberParameters, 2u);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionInformation[0], 1u);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionInformation[1], 0x123456789Au);
    EXPECT_EQ(dump.ExceptionContext().Rip, context_.Rip);
    EXPECT_EQ(dump.ExceptionContext().Rsp, context_.Rsp);
    EXPECT_EQ(dump.ModuleAt(context_.Rip), L"error_crash_dump_test.exe");
    EXPECT_TRUE(dump.Has(SystemInfoStream));
    EXPECT_TRUE(dump.Has(ThreadListStream));
}

TEST_F(CrashDump, OfALaterCrashReplacesThatOfAnEarlierOne) {
    folder_.NewFile(L"app.dmp");
    DumpTo(L"app");
    record_.ExceptionCode = EXCEPTION_INT_DIVIDE_BY_ZERO;
    DumpTo(L"app.log");
    EXPECT_EQ(reports_, 2);
    EXPECT_EQ(Minidump::Read(dumpFile_).Exception().ExceptionRecord.ExceptionCode,
              static_cast<DWORD>(EXCEPTION_INT_DIVIDE_BY_ZERO));
}

TEST_F(CrashDump, IsMissingFromTheReportWhenItsFolderDoesNotExist) {
    EXPECT_EQ(DumpTo(L"none\\app.dmp"), L"none");
    EXPECT_EQ(reports_, 1);
    EXPECT_FALSE(Exists(folder_.Path() + L"\\none"));
}

TEST_F(CrashDump, IsMissingFromTheReportWhenItsFileIsInUse) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    const HANDLE open = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(DumpTo(L"app.dmp"), L"none");
    EXPECT_EQ(GetFileSize(open, nullptr), 0u);
    CloseHandle(open);
    EXPECT_EQ(DumpTo(L"app.dmp"), name);
    EXPECT_EQ(reports_, 2);
}

TEST_F(CrashDump, IsCompleteAndClosedWhenTheReportersRun) {
    folder_.NewFile(L"app.dmp");
    std::uint32_t code = 0;
    const Handle reading = errorReporter->AddSEReporter(
        [&](unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const& file) {
            code = Minidump::Read(*file).Exception().ExceptionRecord.ExceptionCode;
        });
    DumpTo(L"app");
    EXPECT_EQ(code, someCode);
}

TEST_F(CrashDump, MayBeSwitchedOffByAReporter) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    std::wstring late;
    const Handle first = errorReporter->AddSEReporter(
        [](unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const&) {
            SetDumpFilePath(boost::none);
        });
    const Handle second = errorReporter->AddSEReporter(
        [&](unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const& file) {
            late = *file;
        });
    DumpTo(L"app");
    EXPECT_EQ(late, name);
    EXPECT_EQ(DumpFilePath(), L"none");
}

TEST_F(CrashDump, LetsOutWhatAReporterThrows) {
    folder_.NewFile(L"app.dmp");
    const Handle throwing = errorReporter->AddSEReporter(
        [](unsigned long, EXCEPTION_POINTERS const&, boost::optional<std::wstring> const&) {
            throw std::length_error("no more reports");
        });
    EXPECT_EQ(ThrownText<std::length_error>([&] { DumpTo(L"app"); }), "no more reports");
    EXPECT_EQ(reports_, 1);
    EXPECT_NO_THROW(Minidump::Read(dumpFile_).Exception());
}

TEST_F(CrashDump, IsWrittenBeforeTheMissingReporterIsMissed) {
    const std::wstring name = folder_.NewFile(L"app.dmp");
    const boost::shared_ptr<ErrorReporter> installed = errorReporter.GetShared();
    errorReporter.Reset();
    const std::string text = ThrownText<std::runtime_error>([&] { DumpTo(L"app"); });
    errorReporter = installed;
    EXPECT_EQ(text, std::string("Singleton instance of ") + typeid(ErrorReporter).name() +
                        " does not exists!");
    EXPECT_EQ(reports_, 0);
    EXPECT_NO_THROW(Minidump::Read(name).Exception());
}

TEST_F(CrashDump, ReportsToTheEndThoughTheReporterIsReleasedMeanwhile) {
    const boost::shared_ptr<ErrorReporter> installed = errorReporter.GetShared();
    errorReporter = ErrorReporter::Create();
    std::string called;
    const auto letter = [&](char name) {
        return errorReporter->AddSEReporter([&called, name](unsigned long,
                                                            EXCEPTION_POINTERS const&,
                                                            boost::optional<std::wstring> const&) {
            called += name;
            errorReporter.Reset();
        });
    };
    const std::vector<Handle> handles{letter('A'), letter('B')};
    EXPECT_EQ(ExcDump(someCode, &pointers_), 0);
    errorReporter = installed;
    EXPECT_EQ(called, "AB");
}

TEST_F(CrashDump, MayBeSetWhileOthersDump) {
    constexpr int rounds = 5;
    folder_.NewFile(L"a.dmp");
    folder_.NewFile(L"b.dmp");
    std::atomic<bool> isOver{false};
    std::thread setting([&] {
        while (!isOver)
            for (const wchar_t* const name : {L"\\a.log", L"\\none\\of these", L"\\b"})
                SetDumpFilePath(Path(folder_.Path() + name));
    });
    for (int round = 0; round != rounds; ++round) {
        EXPECT_EQ(ExcDump(someCode, &pointers_), 0);
        if (dumpFile_ != L"none") {
            EXPECT_NO_THROW(Minidump::Read(dumpFile_).Exception());
        }
    }
    isOver = true;
    setting.join();
    EXPECT_EQ(reports_, rounds);
}

} // namespace
