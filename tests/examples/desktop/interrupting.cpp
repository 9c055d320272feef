// Scenarios with a search that goes on.
#include "finder_program.h"
#include "resource.h"
#include "scenarios.h"

#include <algorithm>
#include <cstdio>

namespace {

/// Waits until files are being read.
void AwaitReading(const FinderProgram& finder) {
    finder.Window().AwaitText(IDC_STEP, L"Comparing first bytes");
    const int position = finder.Position();
    WaitUntil("it gets on", [&] { return finder.Position() > position; });
}

/// The longest time, in milliseconds, that the window takes to answer while the search gets on by
/// so much.
unsigned long long LongestSilence(const FinderProgram& finder, int much) {
    const int begin = finder.Position();
    unsigned long long longest = 0;
    WaitUntil("it gets on", [&] {
        const ULONGLONG before = GetTickCount64();
        Send(finder.Window().Handle(), WM_NULL);
        longest = std::max(longest, GetTickCount64() - before);
        return finder.Position() >= begin + much;
    });
    return longest;
}

} // namespace

void Interrupt(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program);
    const DrivenWindow& window = finder.Window();
    finder.Search(arguments[0]);
    AwaitReading(finder);
    if (window.IsEnabled(IDOK))
        Fail("a second search can be started");

    const unsigned long long silence = LongestSilence(finder, 30);
    std::printf("drive: the window answered within %llu ms\n", silence);
    if (silence > 5000)
        Fail("the window does not answer");

    window.Press(IDC_PAUSE);
    window.AwaitText(IDC_STEP, L"Paused");
    if (window.Text(IDC_PAUSE) != L"&Resume")
        Fail("the button does not offer to resume");
    const std::wstring paused = window.Text(IDC_DONE);
    window.Press(IDC_PAUSE);
    window.AwaitText(IDC_STEP, L"Comparing");
    WaitUntil("it goes on", [&] { return window.Text(IDC_DONE) != paused; });

    window.Press(IDC_PAUSE);
    window.AwaitText(IDC_STEP, L"Paused");
    window.PressKey(VK_ESCAPE);
    window.AwaitText(IDC_STEP, L"Cancelled");
    window.AwaitText(IDC_DONE, L"Cancelled: ");
    WaitUntil("another search can begin", [&] { return window.IsEnabled(IDOK); });
    if (window.IsEnabled(IDC_PAUSE) || window.IsEnabled(IDCANCEL))
        Fail("a search that has ended can be cancelled");
    const DrivenList groups(window.Control(IDC_GROUPS), finder.Process());
    if (groups.Count() == 0)
        Fail("what was found until then is not shown");
    finder.Close();
}

void CloseInTheMiddle(const std::wstring& program, const Arguments& arguments) {
    for (const bool isPaused : {false, true}) {
        FinderProgram finder(program, arguments[0]);
        AwaitReading(finder);
        if (isPaused) {
            finder.Window().Press(IDC_PAUSE);
            finder.Window().AwaitText(IDC_STEP, L"Paused");
        }
        const unsigned long long took = finder.Close();
        std::printf("drive: closed in %llu ms%s\n", took, isPaused ? " while paused" : "");
        if (took > 10'000)
            Fail("closing takes too long");
    }
    // Also while the folder is being listed.
    FinderProgram finder(program, arguments[0]);
    std::printf("drive: closed in %llu ms at the beginning\n", finder.Close());
}
