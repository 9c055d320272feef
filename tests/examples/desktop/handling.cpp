// Scenarios with dialogs, keys and displays.
#include "finder_program.h"
#include "resource.h"
#include "scenarios.h"

#include <string>

namespace {

constexpr int fileName = 0x480; // edt1 of the system's dialogs

struct Titled {
    std::wstring part;
    HWND found;
};

BOOL CALLBACK LookForTitle(HWND window, LPARAM parameter) {
    Titled& titled = *reinterpret_cast<Titled*>(parameter);
    wchar_t title[400] = L"";
    GetWindowTextW(window, title, 400);
    if (IsWindowVisible(window) == FALSE ||
        std::wstring(title).find(titled.part) == std::wstring::npos)
        return TRUE;
    titled.found = window;
    return FALSE;
}

} // namespace

void Browse(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program);
    const DrivenWindow& window = finder.Window();
    window.Press(IDC_BROWSE);
    const DrivenWindow refused = DrivenWindow::Await(finder.Id(), L"#32770");
    refused.Type(fileName, arguments[0]);
    refused.Press(IDCANCEL);
    WaitUntil("the dialog is closed", [&] { return IsWindow(refused.Handle()) == FALSE; });
    if (!window.Text(IDC_FOLDER).empty())
        Fail("a folder is chosen by cancelling");

    window.Press(IDC_BROWSE);
    const DrivenWindow dialog = DrivenWindow::Await(finder.Id(), L"#32770");
    dialog.Type(fileName, arguments[0]);
    dialog.Press(IDOK);
    window.AwaitText(IDC_FOLDER, arguments[0]);
    finder.Close();
}

void SaveReport(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program, arguments[0]);
    finder.AwaitEnd();
    finder.Window().Press(IDC_SAVE);
    const DrivenWindow dialog = DrivenWindow::Await(finder.Id(), L"#32770");
    dialog.Type(fileName, arguments[1]);
    dialog.Press(IDOK);
    finder.Window().AwaitText(IDC_SUMMARY, L"Saved as");
    finder.Close();
}

void ShowErrors(const std::wstring& program, const Arguments& arguments) {
    HANDLE const file =
        CreateFileW(arguments[1].c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        Fail("cannot open the file");
    FinderProgram finder(program, arguments[0]);
    finder.AwaitEnd();
    CloseHandle(file);
    finder.Window().AwaitText(IDC_PROBLEMS, L"&Errors (1)...");
    finder.Window().Press(IDC_PROBLEMS);
    const DrivenWindow details = DrivenWindow::Await(finder.Id(), L"#32770", L"Errors");
    details.AwaitText(IDC_PROBLEM_LIST, L"cannot read (Sharing violation): " + arguments[1]);
    details.Press(IDOK);
    WaitUntil("the details are closed", [&] { return IsWindow(details.Handle()) == FALSE; });

    // A folder that is not there is an error too.
    finder.Search(arguments[0] + L"\\nowhere");
    finder.Window().AwaitText(IDC_STEP, L"Failed");
    finder.Window().AwaitText(IDC_DONE, L"cannot read folder (");
    finder.Window().AwaitText(IDC_PROBLEMS, L"&Errors (1)...");
    finder.Close();
}

void OpenFolder(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program, arguments[0]);
    finder.AwaitEnd();
    const DrivenList groups(finder.Window().Control(IDC_GROUPS), finder.Process());
    const DrivenList copies(finder.Window().Control(IDC_COPIES), finder.Process());
    groups.Select(0);
    const int last = copies.Count() - 1;
    const std::wstring folder = copies.Text(last, 1);
    copies.DoubleClick(last);
    Titled titled{folder.substr(folder.rfind(L'\\') + 1), nullptr};
    WaitUntil("the folder is open", [&] {
        EnumWindows(LookForTitle, reinterpret_cast<LPARAM>(&titled));
        return titled.found != nullptr;
    });
    PostMessageW(titled.found, WM_CLOSE, 0, 0);
    finder.Close();
}

void UseKeyboard(const std::wstring& program, const Arguments& arguments) {
    FinderProgram finder(program);
    const DrivenWindow& window = finder.Window();
    window.AwaitFocus(IDC_FOLDER);
    for (const int next : {IDC_BROWSE, IDOK, IDC_GROUPS}) {
        window.PressKey(VK_TAB);
        window.AwaitFocus(next);
    }
    window.PressMnemonic(L'f');
    window.AwaitFocus(IDC_FOLDER);
    window.Type(IDC_FOLDER, arguments[0]);
    window.PressKey(VK_RETURN);
    finder.AwaitEnd();

    // Now there is something to save and to open.
    for (const int next :
         {IDC_BROWSE, IDOK, IDC_GROUPS, IDC_COPIES, IDC_SAVE, IDC_OPEN, IDC_FOLDER}) {
        window.PressKey(VK_TAB);
        window.AwaitFocus(next);
    }
    window.PressMnemonic(L'g');
    window.AwaitFocus(IDC_GROUPS);
    const DrivenList groups(window.Control(IDC_GROUPS), finder.Process());
    const DrivenList copies(window.Control(IDC_COPIES), finder.Process());
    window.PressKey(VK_DOWN);
    WaitUntil("the next group is selected", [&] { return copies.Text(0, 0) == groups.Text(1, 0); });

    const std::wstring summary = window.Text(IDC_SUMMARY);
    window.Type(IDC_SUMMARY, L"before");
    window.PressKey(VK_F5);
    window.AwaitText(IDC_SUMMARY, summary);
    finder.AwaitEnd();
    finder.Close();
}

void ChangeResolution(const std::wstring& program, const Arguments&) {
    FinderProgram finder(program);
    const DrivenWindow& window = finder.Window();
    for (const int dpi : {192, 96, 144}) {
        const RECT place = {10, 20, 10 + 13 * dpi / 2, 20 + 9 * dpi / 2};
        const TheirRectangle suggested(finder.Process(), place);
        Send(window.Handle(), WM_DPICHANGED, static_cast<WPARAM>(MAKELONG(dpi, dpi)),
             suggested.Address());
        RECT now{};
        GetWindowRect(window.Handle(), &now);
        if (EqualRect(&now, &place) == FALSE)
            Fail("the window is not where the system wants it");
        const RECT start = window.Place(IDOK);
        const RECT open = window.Place(IDC_OPEN);
        RECT client{};
        GetClientRect(window.Handle(), &client);
        const int margin = MulDiv(12, dpi, 96);
        if (start.right - start.left != MulDiv(86, dpi, 96) ||
            start.right != client.right - margin || open.bottom != client.bottom - margin)
            Fail("the controls are not at the resolution " + std::to_string(dpi));
    }
    finder.Close();
}
