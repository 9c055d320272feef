#include "main_window.h"

#include "controls.h"
#include "layout.h"
#include "resource.h"

#include <kq/error/error_reporter.h>

#include <stdexcept>

namespace duplicate_finder {
namespace {

constexpr const wchar_t* className = L"kq.examples.duplicate_finder";
constexpr const wchar_t* title = L"Duplicate Finder";

void RegisterWindowClass(WNDPROC onMessage) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = onMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hIcon = LoadIconW(windowClass.hInstance, MAKEINTRESOURCEW(IDI_APPLICATION_ICON));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    windowClass.lpszClassName = className;
    RegisterClassExW(&windowClass);
}

} // namespace

MainWindow::MainWindow() {
    RegisterWindowClass(&MainWindow::OnMessage);
    CreateWindowExW(WS_EX_CONTROLPARENT, className, title, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr,
                    GetModuleHandleW(nullptr), this);
    if (window_ == nullptr)
        throw std::runtime_error("The window cannot be made.");
}

MainWindow::~MainWindow() {
    if (window_ != nullptr)
        DestroyWindow(window_);
}

void MainWindow::Show(int how) const { ShowWindow(window_, how); }

void MainWindow::Search(const std::wstring& folder) {
    SetText(window_, IDC_FOLDER, folder);
    finder_->Start();
}

LRESULT CALLBACK MainWindow::OnMessage(HWND window, UINT message, WPARAM wide, LPARAM longer) {
    if (message == WM_NCCREATE) {
        auto* const self =
            static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(longer)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* const self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr)
        return DefWindowProcW(window, message, wide, longer);
    try {
        return self->OnMessage(message, wide, longer);
    } catch (...) {
        // It must not go through the system's code that called. The user is told of it.
        kq::error::errorReporter->ReportCurrentException();
        return message == WM_CREATE ? -1 : 0; // there is no window without its contents
    }
}

LRESULT MainWindow::OnMessage(UINT message, WPARAM wide, LPARAM longer) {
    switch (message) {
        case WM_CREATE:
            OnCreate();
            return 0;
        case WM_SIZE:
            OnSize();
            return 0;
        case WM_GETMINMAXINFO: {
            const SIZE size = SmallestSize(dpi_);
            reinterpret_cast<MINMAXINFO*>(longer)->ptMinTrackSize = {size.cx, size.cy};
            return 0;
        }
        case WM_DPICHANGED: {
            const RECT& place = *reinterpret_cast<const RECT*>(longer);
            SetDpi(HIWORD(wide));
            SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left,
                         place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
            return 0;
        }
        case WM_COMMAND:
            OnCommand(LOWORD(wide));
            return 0;
        case WM_NOTIFY:
            if (finder_ != nullptr) // not yet while the lists are made
                finder_->OnNotify(*reinterpret_cast<NMHDR*>(longer));
            return 0;
        case WM_ACTIVATE:
            if (LOWORD(wide) == WA_INACTIVE)
                lastFocus_ = GetFocus();
            else
                SetFocus(lastFocus_);
            return 0;
        case DM_GETDEFID:
            return DefaultButton();
        case WM_NEXTDLGCTL: // a control, for a mnemonic, or a direction
            MoveFocus(LOWORD(longer) != 0 ? reinterpret_cast<HWND>(wide)
                                          : GetNextDlgTabItem(window_, GetFocus(), wide != 0));
            return 0;
        case WM_DESTROY:
            finder_.reset(); // jobs that come later find it gone
            PostQuitMessage(0);
            return 0;
        case WM_NCDESTROY:
            window_ = nullptr;
            return 0;
        default:
            return DefWindowProcW(window_, message, wide, longer);
    }
}

void MainWindow::OnCreate() {
    CreateControls(window_);
    finder_ = std::make_shared<Finder>(window_);
    lastFocus_ = GetDlgItem(window_, IDC_FOLDER);
    SetDpi(GetDpiForWindow(window_));
    const SIZE size = SizeAtFirst(dpi_);
    SetWindowPos(window_, nullptr, 0, 0, size.cx, size.cy,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void MainWindow::SetDpi(UINT dpi) {
    dpi_ = dpi;
    auto font = std::make_unique<MessageFont>(dpi);
    SetControlFont(window_, font->Handle());
    font_ = std::move(font); // the old one goes when no control uses it
    OnSize();
}

void MainWindow::OnSize() {
    if (finder_ == nullptr || IsIconic(window_))
        return;
    Arrange(window_, dpi_, font_->LineHeight());
    finder_->OnSize(dpi_);
}

// Also comes from menus and accelerators: a control that is disabled is not asked.
void MainWindow::OnCommand(int control) {
    if (finder_ == nullptr || !IsWindowEnabled(GetDlgItem(window_, control)))
        return;
    switch (control) {
        case IDOK:
            return finder_->Start();
        case IDCANCEL:
            return finder_->Cancel();
        case IDC_PAUSE:
            return finder_->PauseOrResume();
        case IDC_BROWSE:
            return finder_->Browse();
        case IDC_PROBLEMS:
            return finder_->ShowErrors();
        case IDC_SAVE:
            return finder_->Save();
        case IDC_OPEN:
            return finder_->OpenSelected();
        default:
            return;
    }
}

LRESULT MainWindow::DefaultButton() const {
    HWND const focus = GetFocus();
    const int control = GetDlgCtrlID(focus);
    if ((SendMessageW(focus, WM_GETDLGCODE, 0, 0) & DLGC_UNDEFPUSHBUTTON) != 0)
        return MAKELRESULT(control, DC_HASDEFID);
    const bool isList = control == IDC_GROUPS || control == IDC_COPIES;
    return MAKELRESULT(isList ? IDC_OPEN : IDOK, DC_HASDEFID);
}

} // namespace duplicate_finder
