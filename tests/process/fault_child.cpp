// fault_child FILTER PLACE DUMP FAULT...: fails as it is told, with a reporter that prints what it
// is told to the standard output.
//
//   FILTER  guard: each fault happens in a guarded region; unhandled: the crash filter is that of
//           the process for whatever nobody handles; vectored: it is reached through a vectored
//           handler that reports the overflow of the stack
//   PLACE   main, host_thread, pool_thread, ui_job
//   DUMP    where to dump, or - for no dump
//   FAULT   see fault_kinds.h; of several, each happens in a place of its own at the same time, and
//           no reporter returns before all of them report
//
// Prints "fault THREAD FUNCTION" before a fault, "report CODE THREAD ADDRESS DUMP" for each report
// (DUMP is - without one), and "ticket TEXT" when a job failed and the program went on.
#include <kq/kq.h>

#include "process/fault_kinds.h"
#include "process/flag.h"
#include "process/forever.h"
#include "process/guard.h"
#include "process/overflow_watch.h"
#include "support/open_symbols.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;

namespace {

constexpr int cleanExit = 41;
constexpr int badArguments = 99;

enum class Filter { Guard, Unhandled, Vectored };
Filter filter = Filter::Guard;

// On the stack and straight to the system: what else works is not known any more.
template <class... Values>
void Print(const char* format, Values... values) {
    std::array<char, 600> line{};
    const int length = std::snprintf(line.data(), line.size(), format, values...);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(length), &written,
              nullptr);
}

LONG WINAPI FilterOfProcess(EXCEPTION_POINTERS* pointers) {
    return kq::error::detail::ExcDump(pointers->ExceptionRecord->ExceptionCode, pointers);
}

void FailWith(Fault fault) {
    Print("fault %lu %p\n", GetCurrentThreadId(), reinterpret_cast<void*>(fault));
    switch (filter) {
        case Filter::Guard:
            RunGuarded(fault);
            break;
        case Filter::Vectored:
            WatchForOverflow();
            fault();
            break;
        case Filter::Unhandled:
            fault();
            break;
    }
}

CJobTicket FailInJob(Fault fault, const std::shared_ptr<CJobTermsImpl>& terms) {
    return jobQueue->Queue([fault] { FailWith(fault); }, terms);
}

void PrintFailure(const CJobTicket& ticket) {
    std::optional<std::string> error;
    ticket.Wait(error);
    Print("ticket %s\n", error ? error->c_str() : "done");
}

bool Fail(const std::string& place, const std::vector<Fault>& faults) {
    if (place == "main") {
        FailWith(faults.front());
    } else if (place == "host_thread") {
        std::vector<std::thread> threads;
        threads.reserve(faults.size());
        const Countdown met(faults.size());
        for (const Fault fault : faults)
            threads.emplace_back([fault, met] {
                met.Arrive();
                met.Wait();
                FailWith(fault);
            });
        for (std::thread& thread : threads)
            thread.join();
    } else if (place == "pool_thread") {
        std::vector<CJobTicket> tickets;
        tickets.reserve(faults.size());
        for (const Fault fault : faults)
            tickets.push_back(FailInJob(fault, isBlocking));
        for (const CJobTicket& ticket : tickets)
            PrintFailure(ticket);
    } else if (place == "ui_job") {
        const CJobTicket ticket = FailInJob(faults.front(), inUIAsync);
        kq::win32::PumpMessageQueue();
        PrintFailure(ticket);
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 5)
        return badArguments;
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    OpenSymbols();
    if (std::strcmp(argv[1], "vectored") == 0)
        filter = Filter::Vectored;
    if (std::strcmp(argv[1], "unhandled") == 0) {
        filter = Filter::Unhandled;
        SetUnhandledExceptionFilter(FilterOfProcess);
    }
    if (std::strcmp(argv[3], "-") != 0)
        kq::error::SetDumpFilePath(boost::filesystem::path(argv[3]));
    std::vector<Fault> faults;
    for (int index = 4; index != argc; ++index) {
        faults.push_back(FindFault(argv[index]));
        if (faults.back() == nullptr)
            return badArguments;
    }
    const Countdown allReport(faults.size());
    const auto reporting = kq::error::errorReporter->AddSEReporter(
        [allReport](unsigned long code, EXCEPTION_POINTERS const& pointers,
                    boost::optional<std::wstring> const& dump) {
            Print("report %08lx %lu %p %ls\n", code, GetCurrentThreadId(),
                  pointers.ExceptionRecord->ExceptionAddress, dump ? dump->c_str() : L"-");
            allReport.Arrive();
            allReport.Wait();
        });
    return Fail(argv[2], faults) ? cleanExit : badArguments;
}

void scenario::Fail(const char* file, int line, const char* what) noexcept {
    Print("%s:%d: does not hold: %s\n", file, line, what);
    TerminateProcess(GetCurrentProcess(), badArguments);
    BlockForever();
}
