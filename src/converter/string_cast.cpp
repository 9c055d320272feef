#include <kq/converter/string_cast.h>

namespace kq::converter::detail {

std::string CastCharacters(std::wstring_view text, const std::locale& locale) {
    std::string result(text.size(), '\0');
    const auto& characters = std::use_facet<std::ctype<wchar_t>>(locale);
    characters.narrow(text.data(), text.data() + text.size(), '?', result.data());
    return result;
}

std::wstring CastCharacters(std::string_view text, const std::locale& locale) {
    std::wstring result(text.size(), L'\0');
    const auto& characters = std::use_facet<std::ctype<wchar_t>>(locale);
    characters.widen(text.data(), text.data() + text.size(), result.data());
    return result;
}

} // namespace kq::converter::detail
