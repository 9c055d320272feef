// A list view of another program.
#pragma once

#include <windows.h>

#include <string>

/// Reads and selects the rows of a list view. The messages for that carry pointers, which the
/// system does not translate: what they point at is put into the other process.
class DrivenList {
public:
    DrivenList(HWND list, HANDLE process);
    ~DrivenList();
    DrivenList(const DrivenList&) = delete;
    DrivenList& operator=(const DrivenList&) = delete;

    int Count() const;
    std::wstring Text(int row, int column) const;
    void Select(int row) const;
    /// As the mouse does it, on the row's first column.
    void DoubleClick(int row) const;

private:
    struct Exchange;

    HWND list_;
    HANDLE process_;
    Exchange* theirs_;
};

/// Puts a record into another process and takes it away in the end.
class TheirRectangle {
public:
    TheirRectangle(HANDLE process, const RECT& rectangle);
    ~TheirRectangle();
    TheirRectangle(const TheirRectangle&) = delete;
    TheirRectangle& operator=(const TheirRectangle&) = delete;

    LPARAM Address() const { return reinterpret_cast<LPARAM>(theirs_); }

private:
    HANDLE process_;
    void* theirs_;
};
