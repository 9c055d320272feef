// Casts of text between the widths, in two locales, against the locale's facet asked for each
// character.
#include <kq/converter/string_cast.h>

#include "fuzz/require.h"
#include "fuzz/wide_text.h"

#include <locale>
#include <memory>
#include <string>

using kq::converter::StringCast;
using kq_fuzz::Require;

namespace {

using Facet = std::ctype<wchar_t>;

const std::locale& OtherLocale() {
    static const std::locale other = [] {
        try {
            return std::locale("C.UTF-8");
        } catch (const std::runtime_error&) {
            return std::locale::classic(); // this platform has no other
        }
    }();
    return other;
}

/// A copy that ends with its zero, to be read as a pointer.
template <class Character>
std::unique_ptr<Character[]> Terminated(const std::basic_string<Character>& text) { // NOLINT
    auto copy = std::make_unique<Character[]>(text.size() + 1);                     // NOLINT
    text.copy(copy.get(), text.size());
    return copy;
}

void CastWide(const std::wstring& text, const std::locale& locale) {
    const auto cast = StringCast<std::string>(text, locale);
    Require(cast.size() == text.size(), "narrow text is as long as the wide one");
    const auto& facet = std::use_facet<Facet>(locale);
    for (std::size_t i = 0; i != text.size(); ++i)
        Require(cast[i] == facet.narrow(text[i], '?'), "a narrow character");
    const auto upToZero = text.substr(0, text.find(L'\0'));
    const auto pointer = Terminated(text);
    Require(StringCast<std::string>(pointer.get(), locale) == cast.substr(0, upToZero.size()),
            "a wide pointer is read up to its zero");
    Require(StringCast<std::wstring>(text, locale) == text, "wide text stays");
    Require(StringCast<std::wstring>(pointer.get(), locale) == upToZero, "a wide pointer stays");
}

void CastNarrow(const std::string& text, const std::locale& locale) {
    const auto cast = StringCast<std::wstring>(text, locale);
    Require(cast.size() == text.size(), "wide text is as long as the narrow one");
    const auto& facet = std::use_facet<Facet>(locale);
    for (std::size_t i = 0; i != text.size(); ++i)
        Require(cast[i] == facet.widen(text[i]), "a wide character");
    const auto upToZero = text.substr(0, text.find('\0'));
    const auto pointer = Terminated(text);
    Require(StringCast<std::wstring>(pointer.get(), locale) == cast.substr(0, upToZero.size()),
            "a narrow pointer is read up to its zero");
    Require(StringCast<std::string>(text, locale) == text, "narrow text stays");
    Require(StringCast<std::string>(pointer.get(), locale) == upToZero, "a narrow pointer stays");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const std::locale& locale : {std::locale::classic(), OtherLocale()}) {
        CastWide(kq_fuzz::WideText(data, size), locale);
        CastNarrow(std::string(data, data + size), locale);
    }
    return 0;
}
