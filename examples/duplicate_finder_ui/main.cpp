// duplicate_finder_ui [FOLDER]: finds files with the same content, in a window.
#include <windows.h>

#include "main_window.h"
#include "message_loop.h"

#include <kq/com/com_usage.h>
#include <kq/library.h>

#include <commctrl.h>
#include <objbase.h>
#include <shellapi.h>

#include <exception>
#include <string>

namespace duplicate_finder {
namespace {

/// The folder that the command line names, or nothing.
std::wstring FolderOfCommandLine() {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    std::wstring folder = arguments != nullptr && count > 1 ? arguments[1] : L"";
    LocalFree(arguments);
    return folder;
}

int Run(int show) {
    // Dialogs of the shell want an apartment of one thread.
    const kq::com::ComUsage com(COINIT_APARTMENTTHREADED);
    const INITCOMMONCONTROLSEX classes = {sizeof classes,
                                          ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&classes);

    MainWindow window;
    window.Show(show);
    const std::wstring folder = FolderOfCommandLine();
    if (!folder.empty())
        window.Search(folder);
    return RunMessageLoop(window.Handle());
}

} // namespace
} // namespace duplicate_finder

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, wchar_t* /*commandLine*/,
                    int show) {
    const kq::Session session; // when everything else has gone, drains and joins
    try {
        return duplicate_finder::Run(show);
    } catch (const std::exception& problem) {
        MessageBoxA(nullptr, problem.what(), "Duplicate Finder", MB_ICONERROR);
        return 1;
    }
}
