// Every kind of failure, on every kind of thread, in a process of its own: how it ends, what is
// reported, and what a debugger finds in the dump.
#include "process/fault_run.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <string>
#include <vector>

using kq_test::FaultRun;
using kq_test::FaultRunner;
using kq_test::Minidump;

namespace {

constexpr std::uint32_t cleanExit = 41;
constexpr std::uint32_t exitOfAbort = 3;
#if defined(_MSC_VER)
constexpr std::uint32_t codeOfCppException = 0xE06D7363;
#else
constexpr std::uint32_t codeOfCppException = 0x20474343;
#endif

struct Case {
    std::string filter;
    std::string place;
    std::string fault;
    std::uint32_t code;

    bool IsCppException() const { return fault == "cpp_exception"; }
    bool IsInJob() const { return place == "pool_thread" || place == "ui_job"; }
};

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const char* const place : {"main", "host_thread", "pool_thread", "ui_job"}) {
        for (const char* const fault : {"read", "write", "execute"})
            cases.push_back({"guard", place, fault, EXCEPTION_ACCESS_VIOLATION});
        cases.push_back({"guard", place, "division", EXCEPTION_INT_DIVIDE_BY_ZERO});
        cases.push_back({"guard", place, "instruction", EXCEPTION_ILLEGAL_INSTRUCTION});
        cases.push_back({"guard", place, "cpp_exception", codeOfCppException});
        // No stack is left for a search for guards.
        cases.push_back({"vectored", place, "stack_overflow", EXCEPTION_STACK_OVERFLOW});
    }
    for (const char* const place : {"main", "host_thread", "pool_thread"}) {
        cases.push_back({"unhandled", place, "write", EXCEPTION_ACCESS_VIOLATION});
        cases.push_back({"unhandled", place, "division", EXCEPTION_INT_DIVIDE_BY_ZERO});
    }
    return cases;
}

bool Contains(const std::vector<std::uint32_t>& ids, std::uint32_t id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// Whether the address lies in the short function that begins there.
bool IsInFunction(std::uint64_t address, std::uint64_t function) {
    constexpr std::uint64_t longest = 0x200;
    return address >= function && address < function + longest;
}

void ExpectException(const Minidump& dump, const FaultRun& run, const Case& expected) {
    const MINIDUMP_EXCEPTION_STREAM exception = dump.Exception();
    EXPECT_EQ(exception.ThreadId, run.faults[0].threadId);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionCode, expected.code);
    EXPECT_EQ(exception.ExceptionRecord.ExceptionAddress, run.reports[0].address);
    if (expected.code == EXCEPTION_ACCESS_VIOLATION) {
        // What was tried: 0 to read, 1 to write, 8 to execute.
        const std::uint64_t tried = expected.fault == "read"    ? 0
                                    : expected.fault == "write" ? 1
                                                                : 8;
        ASSERT_EQ(exception.ExceptionRecord.NumberParameters, 2u);
        EXPECT_EQ(exception.ExceptionRecord.ExceptionInformation[0], tried);
    }
}

void ExpectInstruction(const Minidump& dump, const FaultRun& run, const Case& expected) {
    const std::uint64_t instruction = dump.ExceptionContext().Rip;
    if (expected.IsCppException()) {
        // The function of the system that raises exceptions.
        EXPECT_NE(dump.ModuleAt(instruction), L"");
        return;
    }
    EXPECT_EQ(instruction, run.reports[0].address);
    if (expected.fault == "execute") {
        const MINIDUMP_EXCEPTION record = dump.Exception().ExceptionRecord;
        EXPECT_EQ(instruction, record.ExceptionInformation[1]);
        EXPECT_EQ(dump.ModuleAt(instruction), L"");
    } else {
        EXPECT_TRUE(IsInFunction(instruction, run.faults[0].function) ||
                    expected.fault == "stack_overflow");
        EXPECT_EQ(dump.ModuleAt(instruction), L"fault_child.exe");
    }
}

void ExpectEnd(const FaultRun& run, const Case& expected) {
    if (!expected.IsCppException()) {
        // Nobody handled it: the system ended the process. Windows puts a code of its own in the
        // place of one that crossed a window procedure.
        constexpr std::uint32_t inWindowProcedure = 0xC000041D;
        EXPECT_TRUE(run.exitCode == expected.code ||
                    (expected.place == "ui_job" && run.exitCode == inWindowProcedure))
            << std::hex << run.exitCode;
        EXPECT_TRUE(run.tickets.empty());
    } else if (expected.IsInJob()) {
        // The filter only records; the exception went on to the job's state.
        EXPECT_EQ(run.exitCode, cleanExit);
        EXPECT_EQ(run.tickets, std::vector<std::string>{"nobody catches this"});
    } else {
        EXPECT_EQ(run.exitCode, exitOfAbort);
    }
}

class Faults : public testing::TestWithParam<Case> {
protected:
    FaultRunner runner;
};

TEST_P(Faults, AreReportedAndDumpedAndGoOn) {
    const Case& expected = GetParam();
    const FaultRun run = runner.Run(expected.filter + ' ' + expected.place, expected.fault);
    SCOPED_TRACE(run.output);
    ASSERT_EQ(run.faults.size(), 1u);
    ASSERT_EQ(run.reports.size(), 1u);
    EXPECT_EQ(run.reports[0].code, expected.code);
    EXPECT_EQ(run.reports[0].threadId, run.faults[0].threadId);
    EXPECT_EQ(run.reports[0].dump, runner.DumpName());
    ASSERT_TRUE(run.dump);
    EXPECT_TRUE(run.dump->Has(SystemInfoStream));
    EXPECT_TRUE(Contains(run.dump->ThreadIds(), run.faults[0].threadId));
    EXPECT_EQ(run.dump->ModuleAt(run.faults[0].function), L"fault_child.exe");
    ExpectException(*run.dump, run, expected);
    ExpectInstruction(*run.dump, run, expected);
    ExpectEnd(run, expected);
}

std::string NameOf(const testing::TestParamInfo<Case>& tested) {
    return tested.param.filter + "_" + tested.param.place + "_" + tested.param.fault;
}

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::ValuesIn(AllCases()), NameOf);

class Fault : public testing::Test {
protected:
    FaultRunner runner;
};

TEST_F(Fault, WithoutADumpPathIsReportedWithoutADump) {
    for (const char* const place : {"guard main", "guard pool_thread", "unhandled host_thread"}) {
        const FaultRun run = runner.Run(place, "write", false);
        SCOPED_TRACE(run.output);
        ASSERT_EQ(run.reports.size(), 1u);
        EXPECT_EQ(run.reports[0].code, EXCEPTION_ACCESS_VIOLATION);
        EXPECT_EQ(run.reports[0].dump, "-");
        EXPECT_FALSE(run.dump);
        EXPECT_EQ(run.exitCode, EXCEPTION_ACCESS_VIOLATION);
    }
}

// Which of them gets the dump file, or whether each gets it in turn, is open.
TEST_F(Fault, OfTwoThreadsAtOnceIsReportedByBoth) {
    for (const char* const place : {"guard host_thread", "guard pool_thread"}) {
        const FaultRun run = runner.Run(place, "read division");
        SCOPED_TRACE(run.output);
        ASSERT_EQ(run.faults.size(), 2u);
        ASSERT_EQ(run.reports.size(), 2u);
        EXPECT_NE(run.reports[0].threadId, run.reports[1].threadId);
        EXPECT_NE(run.reports[0].code, run.reports[1].code);
        EXPECT_TRUE(run.exitCode == EXCEPTION_ACCESS_VIOLATION ||
                    run.exitCode == EXCEPTION_INT_DIVIDE_BY_ZERO)
            << std::hex << run.exitCode;
        ASSERT_TRUE(run.dump);
        const MINIDUMP_EXCEPTION_STREAM exception = run.dump->Exception();
        bool isOfAReport = false;
        for (const kq_test::Report& report : run.reports) {
            EXPECT_TRUE(report.dump == runner.DumpName() || report.dump == "-") << report.dump;
            isOfAReport =
                isOfAReport || (report.dump != "-" && report.threadId == exception.ThreadId &&
                                report.code == exception.ExceptionRecord.ExceptionCode);
            EXPECT_TRUE(Contains(run.dump->ThreadIds(), report.threadId));
        }
        EXPECT_TRUE(isOfAReport);
    }
}

TEST_F(Fault, OfManyThreadsAtOnceIsReportedByAll) {
    const FaultRun run = runner.Run("guard host_thread",
                                    "read write execute division instruction read write division");
    SCOPED_TRACE(run.output);
    ASSERT_EQ(run.faults.size(), 8u);
    ASSERT_EQ(run.reports.size(), 8u);
    std::vector<std::uint32_t> failed;
    std::vector<std::uint32_t> reported;
    for (std::size_t index = 0; index != 8; ++index) {
        failed.push_back(run.faults[index].threadId);
        reported.push_back(run.reports[index].threadId);
    }
    std::sort(failed.begin(), failed.end());
    std::sort(reported.begin(), reported.end());
    EXPECT_EQ(reported, failed);
    ASSERT_TRUE(run.dump);
    EXPECT_TRUE(Contains(failed, run.dump->Exception().ThreadId));
}

} // namespace
