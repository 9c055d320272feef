#include "finder.h"

#include "choose_path.h"
#include "controls.h"
#include "figures.h"
#include "open_folder.h"
#include "problems_window.h"
#include "progress_view.h"
#include "resource.h"

#include <kq/concurrency/job_queue.h>
#include <kq/error/error_reporter.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace duplicate_finder {

using namespace find_duplicates;
using namespace kq::concurrency;

Finder::Finder(HWND window)
    : window_(window),
      groups_(GetDlgItem(window, IDC_GROUPS)),
      copies_(GetDlgItem(window, IDC_COPIES)),
      update_(std::make_shared<UiUpdate>([this] { Update(); })),
      unexpected_([update = update_] { update->Request(); }) {
    ShowNoProgress(window_);
    ShowFound();
}

Finder::~Finder() { update_->Stop(); }

void Finder::Start() {
    const std::wstring folder = TextOf(window_, IDC_FOLDER);
    if (run_ != nullptr || folder.empty())
        return;
    errors_.clear();
    report_ = {};
    groups_.Assign({});
    run_ = std::make_unique<SearchRun>(folder, [update = update_] { update->Request(); });
    Update();
}

void Finder::PauseOrResume() {
    if (run_ == nullptr)
        return;
    if (run_->Progress().CanSuspend())
        run_->Progress().SuspendNow();
    else
        run_->Progress().ResumeNow();
}

void Finder::Cancel() {
    if (run_ != nullptr)
        run_->Progress().Cancel();
}

void Finder::Browse() {
    if (const auto folder = ChooseFolder(window_, TextOf(window_, IDC_FOLDER)))
        SetText(window_, IDC_FOLDER, *folder);
}

void Finder::Save() {
    const auto file = ChooseReportFile(window_);
    if (!file)
        return;
    SavedReport report = report_;
    report.groups = groups_.All();
    const CJobTicket saved = jobQueue->Queue(
        [report = std::move(report), file = *file] { WriteReport(report, file); }, isBlocking);
    // The window may be gone by then. The report is written all the same: the session waits for it.
    const auto tell = [self = weak_from_this(), saved, file = *file] {
        try {
            saved.Wait(); // throws what the job has thrown
            if (const auto finder = self.lock())
                finder->OnSaved(file);
        } catch (const BadReport&) {
            kq::error::errorReporter->ReportCurrentException();
        }
    };
    jobQueue->Queue(tell, after(saved) & inUI);
}

void Finder::OnSaved(const std::wstring& file) {
    SetText(window_, IDC_SUMMARY, L"Saved as " + file);
}

void Finder::OpenSelected() {
    const std::wstring path = copies_.SelectedPath();
    if (!path.empty())
        OpenFolderOf(window_, path);
}

void Finder::ShowErrors() { ShowProblems(window_, errors_); }

void Finder::OnNotify(NMHDR& notification) {
    const bool isOfGroups = notification.idFrom == IDC_GROUPS;
    if (notification.code == LVN_GETDISPINFOW) {
        auto& question = reinterpret_cast<NMLVDISPINFOW&>(notification);
        isOfGroups ? groups_.OnGetDisplayInfo(question) : copies_.OnGetDisplayInfo(question);
    } else if (notification.code == LVN_ITEMACTIVATE) {
        OpenSelected();
    } else if (notification.code == LVN_ITEMCHANGED && isOfGroups) {
        copies_.Show(groups_.Selected());
        Enable(window_, IDC_OPEN, groups_.Selected() != nullptr);
    }
}

void Finder::OnSize(UINT dpi) {
    groups_.View().FitColumns(dpi);
    copies_.View().FitColumns(dpi);
}

void Finder::Update() {
    if (run_ != nullptr) {
        // The result first: when there is one, the state is the final one.
        std::optional<SearchResult> result = run_->TakeResult();
        ShowProgress(window_, run_->Progress().GetState());
        if (result) {
            groups_.Assign(std::exchange(result->report.groups, {}));
            report_ = std::move(result->report);
            std::move(result->problems.begin(), result->problems.end(),
                      std::back_inserter(errors_));
            SetText(window_, IDC_DONE, result->summary);
            SetText(window_, IDC_TOTAL, L"");
            run_.reset();
            if (groups_.Selected() == nullptr)
                groups_.SelectFirst();
        } else {
            groups_.Add(run_->TakeGroups());
        }
    }
    std::vector<std::wstring> unexpected = unexpected_.Take();
    std::move(unexpected.begin(), unexpected.end(), std::back_inserter(errors_));
    ShowFound();
}

void Finder::ShowFound() {
    std::uint64_t waste = 0;
    for (const SavedGroup& group : groups_.All())
        waste += Waste(group);
    const std::size_t count = groups_.All().size();
    SetText(
        window_, IDC_SUMMARY,
        count == 0 ? L"" : FormatCount(count, L"group") + L", " + FormatSize(waste) + L" wasted");
    SetText(window_, IDC_PROBLEMS,
            errors_.empty() ? L"&Errors..." : L"&Errors (" + FormatCount(errors_.size()) + L")...");
    Enable(window_, IDC_PROBLEMS, !errors_.empty());
    Enable(window_, IDC_SAVE, count != 0);
    Enable(window_, IDC_OPEN, groups_.Selected() != nullptr);
}

} // namespace duplicate_finder
