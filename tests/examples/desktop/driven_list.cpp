#include "driven_list.h"

#include "driven_window.h"

#include <commctrl.h>

#include <cstddef>

namespace {

constexpr int longest = 2048;

void* Allocate(HANDLE process, std::size_t size) {
    void* const memory = VirtualAllocEx(process, nullptr, size, MEM_COMMIT, PAGE_READWRITE);
    if (memory == nullptr)
        Fail("no memory in the other process");
    return memory;
}

void Put(HANDLE process, void* where, const void* what, std::size_t size) {
    if (!WriteProcessMemory(process, where, what, size, nullptr))
        Fail("cannot write into the other process");
}

void Get(HANDLE process, const void* where, void* what, std::size_t size) {
    if (!ReadProcessMemory(process, where, what, size, nullptr))
        Fail("cannot read from the other process");
}

} // namespace

struct DrivenList::Exchange {
    LVITEMW item;
    RECT place;
    wchar_t text[longest];
};

DrivenList::DrivenList(HWND list, HANDLE process)
    : list_(list),
      process_(process),
      theirs_(static_cast<Exchange*>(Allocate(process, sizeof(Exchange)))) {}

DrivenList::~DrivenList() { VirtualFreeEx(process_, theirs_, 0, MEM_RELEASE); }

int DrivenList::Count() const { return static_cast<int>(Send(list_, LVM_GETITEMCOUNT)); }

std::wstring DrivenList::Text(int row, int column) const {
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = theirs_->text;
    item.cchTextMax = longest;
    Put(process_, &theirs_->item, &item, sizeof item);
    Send(list_, LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
         reinterpret_cast<LPARAM>(&theirs_->item));
    wchar_t text[longest];
    Get(process_, theirs_->text, text, sizeof text);
    text[longest - 1] = L'\0';
    return text;
}

void DrivenList::Select(int row) const {
    LVITEMW item{};
    item.state = item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    Put(process_, &theirs_->item, &item, sizeof item);
    Send(list_, LVM_SETITEMSTATE, static_cast<WPARAM>(row),
         reinterpret_cast<LPARAM>(&theirs_->item));
}

void DrivenList::DoubleClick(int row) const {
    Send(list_, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
    RECT place{};
    place.left = LVIR_BOUNDS;
    Put(process_, &theirs_->place, &place, sizeof place);
    Send(list_, LVM_GETITEMRECT, static_cast<WPARAM>(row),
         reinterpret_cast<LPARAM>(&theirs_->place));
    Get(process_, &theirs_->place, &place, sizeof place);
    const LPARAM point = MAKELPARAM(place.left + 20, (place.top + place.bottom) / 2);
    PostMessageW(list_, WM_LBUTTONDOWN, MK_LBUTTON, point);
    PostMessageW(list_, WM_LBUTTONUP, 0, point);
    PostMessageW(list_, WM_LBUTTONDBLCLK, MK_LBUTTON, point);
    PostMessageW(list_, WM_LBUTTONUP, 0, point);
}

TheirRectangle::TheirRectangle(HANDLE process, const RECT& rectangle)
    : process_(process), theirs_(Allocate(process, sizeof rectangle)) {
    Put(process_, theirs_, &rectangle, sizeof rectangle);
}

TheirRectangle::~TheirRectangle() { VirtualFreeEx(process_, theirs_, 0, MEM_RELEASE); }
