// Narrow and wide text, one character for one character.
#pragma once

#include <kq/export.h>

#include <locale>
#include <string>
#include <string_view>
#include <type_traits>

namespace kq {
namespace converter {
namespace detail {

/// What `StringCast` reads of each kind of text.
inline std::string_view TextOf(const char* text) { return text; }
inline std::string_view TextOf(const std::string& text) { return text; }
inline std::wstring_view TextOf(const wchar_t* text) { return text; }
inline std::wstring_view TextOf(const std::wstring& text) { return text; }

/// What `StringCast` does between different widths.
KQ_API std::string CastCharacters(std::wstring_view text, const std::locale& locale);
KQ_API std::wstring CastCharacters(std::string_view text, const std::locale& locale);

} // namespace detail

/// Casts `value` to `To`, character by character: for plain text, such as identifiers and numbers.
/// Text in any language goes through `ConvertUcs2ToUtf8` and `ConvertUtf8ToUcs2`, because no
/// multi-byte sequence is formed or recognised here.
///
/// `To` is `std::string` or `std::wstring`. `From` is one of those, or a pointer to (constant)
/// `char` or `wchar_t`; a literal or an array counts as a pointer. A pointer is read up to its
/// terminating zero and must not be null; a string is taken whole, with the zeros in it.
///
/// The result has as many characters as the text. Between different widths each character goes
/// through `std::ctype<wchar_t>` of `locale`: wide to narrow with `narrow`, and "?" for a character
/// that has no narrow form, narrow to wide with `widen`. Between equal widths the text is copied,
/// and the locale is not used. Callable from any thread; throws nothing but `std::bad_alloc`.
///
///     std::wstring name = kq::converter::StringCast<std::wstring>("kq.dll");
template <class To, class From>
To StringCast(const From& value, const std::locale& locale) {
    static_assert(std::is_same_v<To, std::string> || std::is_same_v<To, std::wstring>,
                  "a text is cast to std::string or to std::wstring");
    const auto text = detail::TextOf(value);
    if constexpr (std::is_constructible_v<To, decltype(text)>)
        return To(text);
    else
        return detail::CastCharacters(text, locale);
}

/// As above, with the locale that is the global one at the time of the call.
template <class To, class From>
To StringCast(const From& value) {
    return StringCast<To>(value, std::locale());
}

} // namespace converter
} // namespace kq
