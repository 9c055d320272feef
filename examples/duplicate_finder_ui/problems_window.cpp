#include "problems_window.h"

#include "resource.h"

namespace duplicate_finder {
namespace {

INT_PTR CALLBACK OnMessage(HWND dialog, UINT message, WPARAM parameter, LPARAM text) {
    if (message == WM_INITDIALOG) {
        // Its own limit is for what people type.
        SendDlgItemMessageW(dialog, IDC_PROBLEM_LIST, EM_SETLIMITTEXT, 0, 0);
        SetDlgItemTextW(dialog, IDC_PROBLEM_LIST, reinterpret_cast<const wchar_t*>(text));
        return TRUE;
    }
    if (message == WM_COMMAND && (LOWORD(parameter) == IDOK || LOWORD(parameter) == IDCANCEL)) {
        EndDialog(dialog, 0);
        return TRUE;
    }
    return FALSE;
}

} // namespace

void ShowProblems(HWND owner, const std::vector<std::wstring>& problems) {
    std::wstring text;
    for (const std::wstring& problem : problems)
        text += problem + L"\r\n";
    DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROBLEMS), owner, OnMessage,
                    reinterpret_cast<LPARAM>(text.c_str()));
}

} // namespace duplicate_finder
