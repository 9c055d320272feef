#include "finder_program.h"

#include "../child_process.h"
#include "resource.h"

#include <commctrl.h>

#include <vector>

FinderProgram::FinderProgram(const std::wstring& program, const std::wstring& folder)
    : process_(StartProcess(folder.empty() ? std::vector<std::wstring>{program}
                                           : std::vector<std::wstring>{program, folder},
                            GetStdHandle(STD_ERROR_HANDLE), 0, id_)),
      window_(DrivenWindow::Await(id_, L"kq.examples.duplicate_finder")) {}

void FinderProgram::Search(const std::wstring& folder) const {
    window_.Type(IDC_FOLDER, folder);
    window_.Type(IDC_STEP, L"pressed"); // what it showed before is not what is waited for
    window_.Press(IDOK);
    WaitUntil("the search has begun", [&] { return window_.Text(IDC_STEP) != L"pressed"; });
}

void FinderProgram::AwaitEnd() const { window_.AwaitText(IDC_STEP, L"Finished"); }

int FinderProgram::Position() const {
    return static_cast<int>(Send(window_.Control(IDC_PROGRESS), PBM_GETPOS));
}

unsigned long long FinderProgram::Close() {
    const ULONGLONG begin = GetTickCount64();
    PostMessageW(window_.Handle(), WM_CLOSE, 0, 0);
    if (WaitForSingleObject(process_, 30'000) != WAIT_OBJECT_0)
        Fail("the process does not end");
    const ULONGLONG took = GetTickCount64() - begin;
    const int code = EndOfProcess(process_);
    if (code != 0)
        Fail("the process has ended with code " + std::to_string(code));
    return took;
}
