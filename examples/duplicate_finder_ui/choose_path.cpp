#include "choose_path.h"

#include <objbase.h>
#include <shobjidl.h>

#include <cwchar>
#include <memory>
#include <stdexcept>

namespace duplicate_finder {
namespace {

struct Releaser {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using ComPointer = std::unique_ptr<Interface, Releaser>;

void Check(HRESULT result) {
    if (FAILED(result))
        throw std::runtime_error("the dialog cannot be shown");
}

template <class Dialog>
ComPointer<Dialog> MakeDialog(const CLSID& classId) {
    void* dialog = nullptr;
    Check(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Dialog), &dialog));
    return ComPointer<Dialog>(static_cast<Dialog*>(dialog));
}

ComPointer<IShellItem> ItemOf(const std::wstring& path) {
    void* item = nullptr;
    if (FAILED(SHCreateItemFromParsingName(path.c_str(), nullptr, __uuidof(IShellItem), &item)))
        return nullptr;
    return ComPointer<IShellItem>(static_cast<IShellItem*>(item));
}

/// Shows the dialog. While it is open, UI jobs go on: it has a message loop of its own.
std::optional<std::wstring> Ask(IFileDialog& dialog, HWND owner) {
    const HRESULT shown = dialog.Show(owner);
    if (shown == HRESULT_FROM_WIN32(ERROR_CANCELLED))
        return {};
    Check(shown);
    IShellItem* result = nullptr;
    Check(dialog.GetResult(&result));
    const ComPointer<IShellItem> item(result);
    wchar_t* name = nullptr;
    Check(item->GetDisplayName(SIGDN_FILESYSPATH, &name));
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> freed(name, &CoTaskMemFree);
    return std::wstring(name);
}

} // namespace

std::optional<std::wstring> ChooseFolder(HWND owner, const std::wstring& first) {
    const auto dialog = MakeDialog<IFileOpenDialog>(CLSID_FileOpenDialog);
    Check(dialog->SetOptions(FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST));
    if (const ComPointer<IShellItem> folder = ItemOf(first))
        dialog->SetFolder(folder.get());
    return Ask(*dialog, owner);
}

std::optional<std::wstring> ChooseReportFile(HWND owner) {
    const auto dialog = MakeDialog<IFileSaveDialog>(CLSID_FileSaveDialog);
    const COMDLG_FILTERSPEC types[] = {{L"Reports", L"*.xml"}, {L"All files", L"*.*"}};
    Check(dialog->SetFileTypes(static_cast<UINT>(std::size(types)), types));
    Check(dialog->SetDefaultExtension(L"xml"));
    Check(dialog->SetFileName(L"duplicates.xml"));
    return Ask(*dialog, owner);
}

} // namespace duplicate_finder
