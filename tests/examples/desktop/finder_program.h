// The duplicate finder, started for a test.
#pragma once

#include "driven_list.h"
#include "driven_window.h"

#include <string>

class FinderProgram {
public:
    /// Starts the program, on the folder unless it is empty, and waits for its window.
    explicit FinderProgram(const std::wstring& program, const std::wstring& folder = {});

    const DrivenWindow& Window() const { return window_; }
    HANDLE Process() const { return process_; }
    DWORD Id() const { return id_; }

    /// Searches a folder by the edit field and the button.
    void Search(const std::wstring& folder) const;
    void AwaitEnd() const;
    /// How far it has come, by the progress bar: up to 1000.
    int Position() const;

    /// Closes the window; fails unless the process ends with code 0. Returns how many milliseconds
    /// that took.
    unsigned long long Close();

private:
    DWORD id_ = 0;
    HANDLE process_;
    DrivenWindow window_;
};
