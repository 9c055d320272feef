#include "dpi.h"

namespace duplicate_finder {

MessageFont::MessageFont(UINT dpi) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi);
    font_ = CreateFontIndirectW(&metrics.lfMessageFont);
}

int MessageFont::LineHeight() const {
    HDC const context = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(context, font_);
    TEXTMETRICW metrics{};
    GetTextMetricsW(context, &metrics);
    SelectObject(context, before);
    ReleaseDC(nullptr, context);
    return metrics.tmHeight;
}

} // namespace duplicate_finder
