// One search, as the window sees it.
#pragma once

#include "saved_report.h"
#include "work.h"

#include <kq/concurrency/job_ticket.h>
#include <kq/progress/progress_signaler.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace duplicate_finder {

struct SearchResult {
    find_duplicates::SavedReport report;
    std::vector<std::wstring> problems; ///< what could not be examined, and why
    std::wstring summary;               ///< one line
};

/// A search that goes on in jobs from the construction on. Belongs to the UI thread; what it has
/// found is fetched from there.
class SearchRun {
public:
    /// Calls `onNews` on the threads that work whenever there is something new to fetch or show.
    SearchRun(std::wstring folder, std::function<void()> onNews);
    /// Cancels what is not finished, and waits until no job is left: that takes as long as reading
    /// a piece of a file.
    ~SearchRun();
    SearchRun(const SearchRun&) = delete;
    SearchRun& operator=(const SearchRun&) = delete;

    /// How far it has come (see `Work` for what the texts mean), and suspend, resume, cancel.
    kq::progress::IProgressSignaler& Progress() const { return *progress_; }

    /// The groups found since the last call.
    std::vector<find_duplicates::SavedGroup> TakeGroups();
    /// The result, once, when the search has ended. Its report has all groups, also those that were
    /// fetched before.
    std::optional<SearchResult> TakeResult();

private:
    void Search();
    SearchResult SearchFolder();
    void Add(const find_duplicates::Tree& tree, const std::vector<find_duplicates::Group>& groups);

    const std::wstring folder_;
    const std::function<void()> onNews_;
    find_duplicates::Work work_;
    const std::shared_ptr<kq::progress::IProgressSignaler> progress_;
    const std::shared_ptr<void> observer_;

    std::mutex mutex_; // guards the following
    std::vector<find_duplicates::SavedGroup> groups_;
    std::optional<SearchResult> result_;

    kq::concurrency::CJobTicket job_; // the last member: its job uses all others
};

} // namespace duplicate_finder
