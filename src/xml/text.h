// Texts on their way to the platform and back.
#pragma once

#include "xml/platform.h"

#include <string>

namespace kq::xml {

/// `text` for the platform, whole, with the zeros in it. Throws `_com_error(E_OUTOFMEMORY)`.
inline BSTR AllocateText(const std::wstring& text) {
    constexpr std::size_t longest = 0x7fff'fff0 / sizeof(wchar_t);
    const BSTR result = text.size() > longest
                            ? nullptr
                            : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (result == nullptr)
        _com_issue_error(E_OUTOFMEMORY);
    return result;
}

/// `AllocateText` as a variant.
inline _variant_t ToVariant(const std::wstring& text) {
    _variant_t result;
    V_BSTR(&result) = AllocateText(text);
    V_VT(&result) = VT_BSTR;
    return result;
}

/// `AllocateText` as an argument, which lives as long as this object.
class ToPlatform {
public:
    explicit ToPlatform(const std::wstring& text) : text_(ToVariant(text)) {}
    operator BSTR() const noexcept { return V_BSTR(&text_); }

    /// An empty text as a null pointer, for where the platform takes one as such.
    static ToPlatform OrNull(const std::wstring& text) {
        return text.empty() ? ToPlatform() : ToPlatform(text);
    }

private:
    ToPlatform() = default;

    const _variant_t text_;
};

/// What the platform has said, up to the first zero. It says an empty text also as a null pointer.
inline std::wstring FromPlatform(const wchar_t* text) {
    return text == nullptr ? std::wstring() : std::wstring(text);
}

/// A text that the platform gives. Unlike `_bstr_t` it takes nothing from the heap itself.
class PlatformText {
public:
    PlatformText() noexcept {
        V_BSTR(&text_) = nullptr;
        V_VT(&text_) = VT_BSTR;
    }
    /// Where the platform puts the text, once.
    BSTR* GetAddress() noexcept { return &V_BSTR(&text_); }
    std::wstring Get() const { return FromPlatform(V_BSTR(&text_)); }

private:
    _variant_t text_;
};

} // namespace kq::xml
