// crash_lab: fails as it is told, and shows what a program gets from kq when that happens.
#include "crash_filter.h"
#include "failures.h"
#include "places.h"
#include "print.h"
#include "reports.h"

#include <kq/error/crash_dump.h>
#include <kq/error/error_reporter.h>
#include <kq/error/exception_normalizer.h>
#include <kq/library.h>

#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace crash_lab {
namespace {

constexpr int exitFine = 0;
constexpr int exitReported = 1;
constexpr int exitUsage = 2;

std::wstring HelpText() {
    std::wstring text =
        L"Usage: crash_lab FAILURE [PLACE]\n\n"
        L"Fails, and prints what is reported. A crash is dumped to crash_lab.dmp in "
        L"the\ncurrent folder.\n\nFAILURE:\n";
    const auto add = [&text](const std::wstring& name, const std::wstring& description) {
        constexpr std::size_t width = 12;
        text += L"  " + name + std::wstring(width - name.size(), L' ') + description + L'\n';
    };
    for (const Failure& failure : AllFailures())
        add(failure.name, failure.description);
    text += L"\nPLACE (main if none is given):\n";
    for (const Place& place : AllPlaces())
        add(place.name, place.description);
    text +=
        L"\nExit codes: 1 after an exception, 2 for bad arguments; a crash ends the program "
        L"with\nthe code of the crash.\n";
    return text;
}

template <class Item>
const Item* Find(const std::vector<Item>& items, const std::wstring& name) {
    for (const Item& item : items)
        if (item.name == name)
            return &item;
    return nullptr;
}

int FailAt(const Place& place, const Failure& failure) {
    try {
        try {
            place.run(failure.fail);
        } catch (...) {
            kq::error::exceptionNormalizer->NormalizeCurrentException();
            throw;
        }
    } catch (...) {
        kq::error::errorReporter->ReportCurrentException();
        return exitReported;
    }
    return exitFine;
}

int Run(const std::vector<std::wstring>& arguments) {
    if (arguments.size() == 1 && arguments[0] == L"--help") {
        Print(HelpText());
        return exitFine;
    }
    const Failure* const failure = arguments.empty() ? nullptr : Find(AllFailures(), arguments[0]);
    const Place* const place =
        Find(AllPlaces(), arguments.size() > 1 ? arguments[1] : std::wstring(L"main"));
    if (failure == nullptr || place == nullptr || arguments.size() > 2) {
        Print(L"crash_lab: what is to fail? --help says more\n");
        return exitUsage;
    }
    const auto reporters = ConnectReporters();
    kq::error::SetDumpFilePath(boost::filesystem::path(L"crash_lab"));
    InstallCrashFilter();
    Print(L"crash_lab " + failure->description + L", " + place->description + L'\n');
    return FailAt(*place, *failure);
}

} // namespace
} // namespace crash_lab

int wmain(int count, wchar_t** arguments) {
    const kq::Session session;
    return crash_lab::Run({arguments + 1, arguments + count});
}
