#include "controls.h"

#include "resource.h"

#include <commctrl.h>

namespace duplicate_finder {
namespace {

struct Control {
    int id;
    const wchar_t* windowClass;
    const wchar_t* text;
    DWORD style;
    DWORD extendedStyle;
};

constexpr DWORD button = WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD line = SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS;
constexpr DWORD rightLine = SS_RIGHT | SS_NOPREFIX;
constexpr DWORD list =
    WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER;

// A label's mnemonic moves the focus to the control behind it.
constexpr Control controls[] = {
    {IDC_FOLDER_LABEL, WC_STATICW, L"&Folder:", SS_LEFT, 0},
    {IDC_FOLDER, WC_EDITW, L"", WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE},
    {IDC_BROWSE, WC_BUTTONW, L"&Browse...", button, 0},
    {IDOK, WC_BUTTONW, L"&Start", WS_TABSTOP | BS_DEFPUSHBUTTON, 0},
    {IDC_STEP, WC_STATICW, L"", line, 0},
    {IDC_TIME_LEFT, WC_STATICW, L"", rightLine, 0},
    {IDC_PROGRESS, PROGRESS_CLASSW, L"", PBS_SMOOTH, 0},
    {IDC_PAUSE, WC_BUTTONW, L"&Pause", button, 0},
    {IDCANCEL, WC_BUTTONW, L"Cancel", button, 0},
    {IDC_DONE, WC_STATICW, L"", line, 0},
    {IDC_TOTAL, WC_STATICW, L"", rightLine, 0},
    {IDC_GROUPS_LABEL, WC_STATICW, L"&Groups of files with the same content:", SS_LEFT, 0},
    {IDC_GROUPS, WC_LISTVIEWW, L"", list, WS_EX_CLIENTEDGE},
    {IDC_COPIES_LABEL, WC_STATICW, L"&Copies in the selected group:", SS_LEFT, 0},
    {IDC_COPIES, WC_LISTVIEWW, L"", list, WS_EX_CLIENTEDGE},
    {IDC_SUMMARY, WC_STATICW, L"", line, 0},
    {IDC_PROBLEMS, WC_BUTTONW, L"&Errors...", button, 0},
    {IDC_SAVE, WC_BUTTONW, L"Sa&ve report...", button, 0},
    {IDC_OPEN, WC_BUTTONW, L"&Open folder", button, 0},
};

} // namespace

void CreateControls(HWND window) {
    for (const Control& control : controls)
        CreateWindowExW(control.extendedStyle, control.windowClass, control.text,
                        WS_CHILD | WS_VISIBLE | control.style, 0, 0, 0, 0, window,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(control.id)),
                        GetModuleHandleW(nullptr), nullptr);
}

void SetControlFont(HWND window, HFONT font) {
    for (const Control& control : controls)
        SendDlgItemMessageW(window, control.id, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
}

std::wstring TextOf(HWND window, int control) {
    HWND const handle = GetDlgItem(window, control);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(handle)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(handle, text.data(), static_cast<int>(text.size()))));
    return text;
}

void SetText(HWND window, int control, const std::wstring& text) {
    if (TextOf(window, control) != text) // else it would flicker
        SetDlgItemTextW(window, control, text.c_str());
}

void MoveFocus(HWND control) {
    if ((SendMessageW(control, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL) != 0)
        SendMessageW(control, EM_SETSEL, 0, -1);
    SetFocus(control);
}

void Enable(HWND window, int control, bool enable) {
    HWND const handle = GetDlgItem(window, control);
    EnableWindow(handle, enable ? TRUE : FALSE);
    if (!enable && GetFocus() == handle)
        MoveFocus(GetNextDlgTabItem(window, handle, FALSE));
}

} // namespace duplicate_finder
