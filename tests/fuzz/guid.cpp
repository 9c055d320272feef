// Texts of GUIDs against a reader of our own, and the operations of the values that they make.
#include <windows.h>

#include <kq/type/guid.h>

#include "fuzz/require.h"
#include "fuzz/wide_text.h"

#include <cstring>
#include <optional>
#include <string>

using kq::type::Guid;
using kq_fuzz::Require;

namespace {

/// The text that is expected back; nothing for one that is no GUID.
std::optional<std::wstring> ExpectedText(std::wstring text) {
    const std::wstring shape = L"hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh";
    if (text.size() != shape.size())
        return std::nullopt;
    for (std::size_t i = 0; i != shape.size(); ++i) {
        wchar_t& character = text[i];
        if (character >= L'A' && character <= L'F')
            character = static_cast<wchar_t>(character - L'A' + L'a');
        const bool isDigit =
            (character >= L'0' && character <= L'9') || (character >= L'a' && character <= L'f');
        if (shape[i] == L'h' ? !isDigit : character != L'-')
            return std::nullopt;
    }
    return text;
}

void ReadText(const std::wstring& text) {
    const std::optional<std::wstring> expected = ExpectedText(text);
    Require(Guid::IsValidString(text) == expected.has_value(), "whether a text is a GUID");
    try {
        Require(Guid(text).ToString() == expected, "the text of a GUID that was read");
    } catch (const std::logic_error& error) {
        if (std::strcmp(error.what(), "Failed to parse string as GUID!") != 0)
            throw;
        Require(!expected, "a GUID is read");
    }
}

void CompareValues(const std::uint8_t* data) {
    GUID values[2];
    std::memcpy(values, data, sizeof(values));
    const Guid left(values[0]);
    const Guid right(values[1]);
    const GUID back = left.Get();
    Require(std::memcmp(&back, &values[0], sizeof(back)) == 0, "a GUID keeps its value");
    const Guid read(left.ToString());
    Require(read == left && std::hash<Guid>()(read) == std::hash<Guid>()(left),
            "a GUID is read back");
    const bool areEqual = std::memcmp(&values[0], &values[1], sizeof(GUID)) == 0;
    Require((left == right) == areEqual, "equality");
    Require((left < right) != (right < left || areEqual), "order");
    Require(!(right < left) || !areEqual, "order and equality");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ReadText(kq_fuzz::WideText(data, size));
    if (size >= 2 * sizeof(GUID))
        CompareValues(data);
    return 0;
}
