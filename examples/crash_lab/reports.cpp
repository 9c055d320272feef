#include "reports.h"

#include "failures.h"
#include "print.h"

#include <kq/converter/string_cast.h>
#include <kq/debug/symbol_handler.h>
#include <kq/error/error_reporter.h>
#include <kq/error/exception_normalizer.h>

#include <windows.h>

#include <boost/optional.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <sstream>
#include <string>

namespace crash_lab {
namespace {

using kq::debug::CallStackEntry;

std::wstring Hex(std::uint64_t number) {
    std::wostringstream text;
    text << L"0x" << std::hex << number;
    return text.str();
}

std::wstring Describe(EXCEPTION_RECORD const& record) {
    switch (record.ExceptionCode) {
        case EXCEPTION_ACCESS_VIOLATION: {
            const ULONG_PTR tried = record.ExceptionInformation[0];
            return std::wstring(L"access violation, ") +
                   (tried == 0   ? L"reading "
                    : tried == 1 ? L"writing "
                                 : L"executing ") +
                   Hex(record.ExceptionInformation[1]);
        }
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
            return L"division by zero";
        case EXCEPTION_ILLEGAL_INSTRUCTION:
            return L"illegal instruction";
        case EXCEPTION_STACK_OVERFLOW:
            return L"stack overflow";
        default:
            return L"something else";
    }
}

// From the frame at `address` on: before it stand the reporting and the system's search for a
// filter.
std::wstring StackFrom(std::uint64_t address) {
    std::vector<CallStackEntry> stack = kq::debug::symbolHandler->GetCallStack();
    stack.erase(stack.begin(),
                std::find_if(stack.begin(), stack.end(), [address](const CallStackEntry& entry) {
                    return entry.address == address;
                }));
    if (stack.empty())
        return L"(on another stack than this report)";
    for (CallStackEntry& entry : stack)
        entry.fileName.erase(0, entry.fileName.find_last_of("/\\") + 1);
    std::wostringstream text;
    text << stack;
    return text.str();
}

std::wstring Wide(const std::string& text) { return kq::converter::StringCast<std::wstring>(text); }

void ReportException() {
    try {
        throw;
    } catch (const std::exception& error) {
        Print(L"report of an exception: " + Wide(error.what()) + L'\n');
    } catch (...) {
        Print(L"report of an exception of an unknown type\n");
    }
}

void ReportCrash(unsigned long code, EXCEPTION_POINTERS const& pointers,
                 boost::optional<std::wstring> const& dumpFile) {
    const EXCEPTION_RECORD& record = *pointers.ExceptionRecord;
    Print(L"report of a crash: " + Hex(code) + L", " + Describe(record) + L'\n');
    Print(L"dump: " + dumpFile.value_or(L"none") + L'\n');
    std::wstring stack;
    try {
        stack = StackFrom(reinterpret_cast<std::uint64_t>(record.ExceptionAddress));
    } catch (const std::exception& error) {
        stack = Wide(error.what());
    }
    Print(L"stack:\n" + stack + L'\n');
}

// The normalizer: knows the errors of the foreign library.
void Translate() {
    try {
        throw;
    } catch (const ForeignError& error) {
        throw Problem("the library failed with error " + std::to_string(error.number));
    } catch (...) {
        // Not ours: it stays as it is.
    }
}

} // namespace

std::vector<boost::shared_ptr<boost::signals2::scoped_connection>> ConnectReporters() {
    using namespace kq::error;
    return {errorReporter->AddReporter(ReportException), errorReporter->AddSEReporter(ReportCrash),
            exceptionNormalizer->AddNormalizer(Translate)};
}

} // namespace crash_lab
