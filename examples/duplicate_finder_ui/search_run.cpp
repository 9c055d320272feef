#include "search_run.h"

#include "figures.h"
#include "path.h"
#include "report.h"
#include "search.h"

#include <kq/concurrency/job_queue.h>
#include <kq/error/error_reporter.h>

#include <exception>
#include <system_error>
#include <utility>

namespace duplicate_finder {

using namespace find_duplicates;
using namespace kq::concurrency;
using kq::progress::ProgressState;

SearchRun::SearchRun(std::wstring folder, std::function<void()> onNews)
    : folder_(std::move(folder)),
      onNews_(std::move(onNews)),
      progress_(work_.Signaler()),
      observer_(progress_->Connect([this](const ProgressState&) { onNews_(); })),
      // It waits for the jobs that read, mostly.
      job_(jobQueue->Queue([this] { Search(); }, isBlocking)) {}

SearchRun::~SearchRun() {
    progress_->Cancel();
    std::optional<std::string> ignored; // the search has reported it
    job_.Wait(ignored);
}

std::vector<SavedGroup> SearchRun::TakeGroups() {
    const std::lock_guard guard(mutex_);
    return std::exchange(groups_, {});
}

std::optional<SearchResult> SearchRun::TakeResult() {
    const std::lock_guard guard(mutex_);
    return std::exchange(result_, {});
}

void SearchRun::Search() {
    SearchResult result;
    try {
        result = SearchFolder();
    } catch (...) {
        // Nobody could handle it here. Whoever is connected to the reporter tells the user.
        kq::error::errorReporter->ReportCurrentException();
        work_.Root().Fail(std::current_exception());
        result.summary = L"The search has failed";
    }
    {
        const std::lock_guard guard(mutex_);
        result_ = std::move(result);
    }
    onNews_();
}

SearchResult SearchRun::SearchFolder() {
    SearchResult result;
    std::wstring folder;
    try {
        folder = ResolveFolder(folder_);
    } catch (const std::system_error& problem) {
        const auto error = static_cast<unsigned long>(problem.code().value());
        result.problems = {L"cannot read folder (" + ErrorText(error) + L"): " + folder_};
        result.summary = result.problems.front();
        work_.Root().Fail(std::current_exception());
        return result;
    }

    Findings findings;
    const auto report = [&] {
        const std::vector<Group> groups = FindGroups(findings.tree, findings.candidates);
        result.report = MakeReport(folder, findings, groups);
    };
    const auto onGroups = [&](const std::vector<Group>& groups) { Add(findings.tree, groups); };
    find_duplicates::Search(folder, 1, work_, findings, report, onGroups);
    result.problems = ListProblems(findings);
    result.summary = DescribeTree(findings);
    if (findings.interrupted)
        result.summary = L"Cancelled: " + FormatCount(findings.notCompared, L"file") +
                         L" not compared to the end";
    return result;
}

void SearchRun::Add(const Tree& tree, const std::vector<Group>& groups) {
    {
        const std::lock_guard guard(mutex_);
        for (const Group& group : groups)
            groups_.push_back(SaveGroup(tree, group));
    }
    onNews_();
}

} // namespace duplicate_finder
