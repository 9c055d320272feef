#include "open_folder.h"

#include "file_name.h"

#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>

#include <memory>
#include <system_error>

namespace duplicate_finder {
namespace {

bool SelectInFolder(const std::wstring& path) {
    const std::unique_ptr<ITEMIDLIST, decltype(&ILFree)> item(ILCreateFromPathW(path.c_str()),
                                                              &ILFree);
    return item != nullptr && SUCCEEDED(SHOpenFolderAndSelectItems(item.get(), 0, nullptr, 0));
}

} // namespace

void OpenFolderOf(HWND owner, const std::wstring& path) {
    if (SelectInFolder(path))
        return;
    SHELLEXECUTEINFOW execution{};
    execution.cbSize = sizeof execution;
    execution.fMask = SEE_MASK_FLAG_NO_UI;
    execution.hwnd = owner;
    execution.lpVerb = L"open";
    const std::wstring folder = FolderOf(path);
    execution.lpFile = folder.c_str();
    execution.nShow = SW_SHOWNORMAL;
    if (ShellExecuteExW(&execution) == 0)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "cannot open folder");
}

} // namespace duplicate_finder
