#include "progress_view.h"

#include "controls.h"
#include "figures.h"
#include "resource.h"

#include <commctrl.h>

#include <string>

namespace duplicate_finder {
namespace {

using kq::progress::EProgressStatus;
using kq::progress::ProgressState;

bool IsOver(EProgressStatus status) {
    return status == EProgressStatus::Finished || status == EProgressStatus::Cancelled ||
           status == EProgressStatus::Failed;
}

std::wstring Step(const ProgressState& state) {
    const std::wstring percent =
        L": " + std::to_wstring(static_cast<int>(100 * state.progress)) + L"%";
    switch (state.status) {
        case EProgressStatus::Finished:
            return L"Finished after " +
                   find_duplicates::FormatDuration(static_cast<std::uint64_t>(state.elapsed));
        case EProgressStatus::Cancelled:
            return L"Cancelled" + percent;
        case EProgressStatus::Failed:
            return L"Failed";
        case EProgressStatus::Cancelling:
            return L"Stopping";
        case EProgressStatus::Suspended:
            return L"Paused" + percent;
        case EProgressStatus::Indeterminate:
            return state.text;
        default:
            return state.text + percent;
    }
}

std::wstring TimeLeft(const ProgressState& state) {
    if (!state.measure || IsOver(state.status))
        return {};
    return find_duplicates::FormatDuration(static_cast<std::uint64_t>(*state.measure)) + L" left";
}

/// A bar that only says that something goes on, while nobody knows how much there is to do.
void SetMarquee(HWND bar, bool isMarquee) {
    const LONG_PTR style = GetWindowLongPtrW(bar, GWL_STYLE);
    if (((style & PBS_MARQUEE) != 0) == isMarquee)
        return;
    SetWindowLongPtrW(bar, GWL_STYLE, isMarquee ? style | PBS_MARQUEE : style & ~PBS_MARQUEE);
    SendMessageW(bar, PBM_SETMARQUEE, isMarquee ? TRUE : FALSE, 0);
}

void ShowBar(HWND bar, const ProgressState& state) {
    SetMarquee(bar, state.status == EProgressStatus::Indeterminate);
    constexpr int full = 1000;
    SendMessageW(bar, PBM_SETRANGE32, 0, full);
    SendMessageW(bar, PBM_SETPOS, static_cast<WPARAM>(full * state.progress), 0);
    SendMessageW(bar, PBM_SETSTATE,
                 state.status == EProgressStatus::Suspended ? PBST_PAUSED
                 : state.status == EProgressStatus::Failed  ? PBST_ERROR
                                                            : PBST_NORMAL,
                 0);
}

} // namespace

void ShowProgress(HWND window, const ProgressState& state) {
    SetText(window, IDC_STEP, Step(state));
    SetText(window, IDC_TIME_LEFT, TimeLeft(state));
    SetText(window, IDC_DONE, state.note1.value_or(L""));
    SetText(window, IDC_TOTAL, state.note2 ? L"of " + *state.note2 : L"");
    ShowBar(GetDlgItem(window, IDC_PROGRESS), state);

    const bool isPaused = state.status == EProgressStatus::Suspended;
    const bool isActive =
        state.status == EProgressStatus::Active || state.status == EProgressStatus::Indeterminate;
    SetText(window, IDC_PAUSE, isPaused ? L"&Resume" : L"&Pause");
    Enable(window, IDC_PAUSE, isPaused || isActive);
    Enable(window, IDCANCEL, isPaused || isActive);
    Enable(window, IDOK, IsOver(state.status));
}

void ShowNoProgress(HWND window) {
    SetText(window, IDC_STEP, L"Choose a folder, and start");
    Enable(window, IDC_PAUSE, false);
    Enable(window, IDCANCEL, false);
}

} // namespace duplicate_finder
