// find_duplicates: finds files with the same content below a folder. See HelpText().
#include "arguments.h"
#include "comparison.h"
#include "console.h"
#include "console_line.h"
#include "exit_code.h"
#include "interruption.h"
#include "path.h"
#include "pause_keys.h"
#include "report.h"
#include "saved_report.h"
#include "search.h"
#include "work.h"

#include <kq/library.h>

#include <exception>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace find_duplicates {
namespace {

int Fail(const std::wstring& message) {
    Console::Error().Write(L"find_duplicates: " + message + L'\n');
    return exitFailed;
}

int FindDuplicates(const Arguments& arguments, const std::wstring& folder) {
    const Console output = Console::Output();
    const Console error = Console::Error();
    // Before the search, which may take long, and before a new report takes its place.
    std::optional<SavedReport> before;
    if (!arguments.compare.empty())
        before = ReadReport(arguments.compare);

    Work work;
    std::optional<ConsoleLine> line;
    if (!arguments.quiet)
        line.emplace(work.Signaler(), error);
    const InterruptionWatch watch(work.Signaler());
    std::optional<PauseKeys> keys;
    if (arguments.pause)
        keys.emplace(work.Signaler());

    Findings findings;
    std::vector<Group> groups;
    std::wstring listing;
    Search(folder, arguments.minSize, work, findings, [&] {
        groups = FindGroups(findings.tree, findings.candidates);
        listing = arguments.tabbed ? TabulateGroups(findings.tree, groups)
                                   : DescribeGroups(findings.tree, groups);
    });

    output.Write(listing);
    error.Write(DescribeProblems(findings));
    if (!arguments.quiet)
        (arguments.tabbed ? error : output).Write(DescribeSummary(findings, groups));
    if (before || !arguments.report.empty()) {
        const SavedReport now = MakeReport(folder, findings, groups);
        if (before)
            (arguments.tabbed ? error : output)
                .Write((arguments.quiet ? L"" : L"\n") + DescribeChanges(*before, now));
        if (!arguments.report.empty())
            WriteReport(now, arguments.report);
    }
    if (findings.interrupted)
        return exitInterrupted;
    return IsComplete(findings) ? exitComplete : exitIncomplete;
}

int Run(const std::vector<std::wstring>& commandLine) {
    Arguments arguments;
    std::wstring folder;
    try {
        arguments = ParseArguments(commandLine);
        if (arguments.help) {
            Console::Output().Write(HelpText());
            return exitComplete;
        }
        folder = ResolveFolder(arguments.folder);
    } catch (const BadArgument& problem) {
        return Fail(problem.Message());
    } catch (const std::system_error& problem) {
        const auto error = static_cast<unsigned long>(problem.code().value());
        return Fail(L"cannot read folder (" + ErrorText(error) + L"): " + arguments.folder);
    }
    return FindDuplicates(arguments, folder);
}

} // namespace
} // namespace find_duplicates

int wmain(int count, wchar_t** arguments) {
    const kq::Session session;
    try {
        return find_duplicates::Run({arguments + 1, arguments + count});
    } catch (const find_duplicates::BadReport& problem) {
        return find_duplicates::Fail(problem.Message());
    } catch (const std::exception& problem) {
        const std::string text = problem.what();
        return find_duplicates::Fail(std::wstring(text.begin(), text.end()));
    }
}
