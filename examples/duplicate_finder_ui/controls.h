// What stands in the main window.
#pragma once

#include <windows.h>

#include <string>

namespace duplicate_finder {

/// Makes the controls of the window, in the order of the Tab key.
void CreateControls(HWND window);

/// Gives every control of the window the font.
void SetControlFont(HWND window, HFONT font);

/// The text of a control, of any length.
std::wstring TextOf(HWND window, int control);
/// Does nothing when the control shows that text already.
void SetText(HWND window, int control, const std::wstring& text);

/// Gives the focus to a control, as the Tab key does.
void MoveFocus(HWND control);

/// Enables or disables a control. The focus does not stay on one that is disabled: it goes to the
/// next control.
void Enable(HWND window, int control, bool enable);

} // namespace duplicate_finder
