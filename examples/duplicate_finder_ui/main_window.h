// The program's window.
#pragma once

#include <windows.h>

#include "dpi.h"
#include "finder.h"

#include <memory>
#include <string>

namespace duplicate_finder {

/// The main window: its messages, its resolution, its keys. What the controls do is the `Finder`'s
/// business. Closing it ends the search and posts the quit message. For the UI thread.
class MainWindow {
public:
    /// Throws `std::runtime_error` when the system makes no window.
    MainWindow();
    ~MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    HWND Handle() const noexcept { return window_; }
    void Show(int how) const;
    /// Enters the folder, and searches it.
    void Search(const std::wstring& folder);

private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM longer);
    LRESULT OnMessage(UINT message, WPARAM wide, LPARAM longer);
    void OnCreate();
    void OnCommand(int control);
    void SetDpi(UINT dpi);
    void OnSize();
    /// Answers `DM_GETDEFID`: what Enter presses.
    LRESULT DefaultButton() const;

    HWND window_ = nullptr;
    UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
    std::unique_ptr<MessageFont> font_;
    HWND lastFocus_ = nullptr;
    std::shared_ptr<Finder> finder_; ///< while there is a window
};

} // namespace duplicate_finder
