// Sizes and fonts at the resolution of a display.
#pragma once

#include <windows.h>

namespace duplicate_finder {

/// So many pixels at 96 dots an inch, in pixels at `dpi`.
inline int Scaled(int pixels, UINT dpi) {
    return MulDiv(pixels, static_cast<int>(dpi), USER_DEFAULT_SCREEN_DPI);
}

/// The system's font for texts in windows.
class MessageFont {
public:
    explicit MessageFont(UINT dpi);
    ~MessageFont() { DeleteObject(font_); }
    MessageFont(const MessageFont&) = delete;
    MessageFont& operator=(const MessageFont&) = delete;

    HFONT Handle() const noexcept { return font_; }
    /// What a line takes, in pixels.
    int LineHeight() const;

private:
    HFONT font_;
};

} // namespace duplicate_finder
