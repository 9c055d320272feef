#include "layout.h"

#include "dpi.h"
#include "resource.h"

#include <algorithm>

namespace duplicate_finder {
namespace {

/// Moves controls all at once.
class Placement {
public:
    explicit Placement(HWND window) : window_(window), moves_(BeginDeferWindowPos(20)) {}
    ~Placement() { EndDeferWindowPos(moves_); }
    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;

    void Put(int control, int left, int top, int width, int height) {
        moves_ =
            DeferWindowPos(moves_, GetDlgItem(window_, control), nullptr, left, top,
                           std::max(width, 0), std::max(height, 0), SWP_NOZORDER | SWP_NOACTIVATE);
    }

private:
    const HWND window_;
    HDWP moves_;
};

} // namespace

void Arrange(HWND window, UINT dpi, int line) {
    RECT client{};
    GetClientRect(window, &client);
    const auto scaled = [dpi](int pixels) { return Scaled(pixels, dpi); };
    const int margin = scaled(12);
    const int gap = scaled(7);
    const int section = scaled(14);
    const int buttonWidth = scaled(86);
    const int wideButton = scaled(104);
    const int rowHeight = std::max(scaled(24), line + scaled(9));
    const int labelOffset = (rowHeight - line) / 2;
    const int left = margin;
    const int right = client.right - margin;
    const int width = right - left;
    Placement placement(window);

    // The folder.
    int top = margin;
    const int labelWidth = scaled(46);
    const int start = right - buttonWidth;
    const int browse = start - gap - buttonWidth;
    placement.Put(IDC_FOLDER_LABEL, left, top + labelOffset, labelWidth, line);
    const int editHeight = line + scaled(6); // its text stands at the top
    placement.Put(IDC_FOLDER, left + labelWidth, top + (rowHeight - editHeight) / 2,
                  browse - gap - left - labelWidth, editHeight);
    placement.Put(IDC_BROWSE, browse, top, buttonWidth, rowHeight);
    placement.Put(IDOK, start, top, buttonWidth, rowHeight);
    top += rowHeight + section;

    // The progress: texts above and below the bar, and buttons beside it.
    const int pause = browse;
    const int barWidth = pause - gap - left;
    const int narrow = barWidth / 3;
    placement.Put(IDC_STEP, left, top, barWidth - narrow, line);
    placement.Put(IDC_TIME_LEFT, left + barWidth - narrow, top, narrow, line);
    top += line + scaled(4);
    const int barHeight = scaled(16);
    placement.Put(IDC_PROGRESS, left, top, barWidth, barHeight);
    const int beside = top + (barHeight - rowHeight) / 2;
    placement.Put(IDC_PAUSE, pause, beside, buttonWidth, rowHeight);
    placement.Put(IDCANCEL, start, beside, buttonWidth, rowHeight);
    top += barHeight + scaled(4);
    placement.Put(IDC_DONE, left, top, barWidth - narrow, line);
    placement.Put(IDC_TOTAL, left + barWidth - narrow, top, narrow, line);
    top += line + section;

    // The lists share what is left above the last row.
    const int lastRow = client.bottom - margin - rowHeight;
    const int label = line + scaled(4);
    const int lists = lastRow - section - top - 2 * label - section;
    const int groups = lists * 3 / 5;
    placement.Put(IDC_GROUPS_LABEL, left, top, width, line);
    placement.Put(IDC_GROUPS, left, top + label, width, groups);
    top += label + groups + section;
    placement.Put(IDC_COPIES_LABEL, left, top, width, line);
    placement.Put(IDC_COPIES, left, top + label, width, lists - groups);

    // What was found, and what to do with it.
    const int open = right - wideButton;
    const int save = open - gap - wideButton;
    const int problems = save - gap - wideButton;
    placement.Put(IDC_SUMMARY, left, lastRow + labelOffset, problems - gap - left, line);
    placement.Put(IDC_PROBLEMS, problems, lastRow, wideButton, rowHeight);
    placement.Put(IDC_SAVE, save, lastRow, wideButton, rowHeight);
    placement.Put(IDC_OPEN, open, lastRow, wideButton, rowHeight);
}

SIZE SizeAtFirst(UINT dpi) { return {Scaled(800, dpi), Scaled(600, dpi)}; }
SIZE SmallestSize(UINT dpi) { return {Scaled(620, dpi), Scaled(420, dpi)}; }

} // namespace duplicate_finder
