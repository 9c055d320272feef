// Both conversions of UTF against strict ones of our own.
#include <kq/converter/utf8.h>

#include "fuzz/require.h"

#include <string>

using kq::converter::ConvertUcs2ToUtf8;
using kq::converter::ConvertUtf8ToUcs2;
using kq_fuzz::Require;

namespace {

constexpr char32_t replacement = 0xFFFD;

void AddUtf8(std::string& text, char32_t character) {
    const auto add = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto addTail = [add, character](int shift) { add(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xC0 | character >> 6);
        addTail(0);
    } else if (character < 0x10000) {
        add(0xE0 | character >> 12);
        addTail(6);
        addTail(0);
    } else {
        add(0xF0 | character >> 18);
        addTail(12);
        addTail(6);
        addTail(0);
    }
}

void AddUtf16(std::wstring& text, char32_t character) {
    if (character < 0x10000) {
        text += static_cast<wchar_t>(character);
    } else {
        text += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
        text += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    }
}

bool IsHigh(wchar_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(wchar_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// Each unpaired surrogate becomes U+FFFD.
std::string Utf8Of(const std::wstring& text) {
    std::string result;
    for (std::size_t i = 0; i != text.size(); ++i) {
        if (IsHigh(text[i]) && i + 1 != text.size() && IsLow(text[i + 1])) {
            const char32_t high = text[i] - 0xD800u;
            ++i;
            AddUtf8(result, 0x10000 + (high << 10) + (text[i] - 0xDC00u));
        } else {
            AddUtf8(result, IsHigh(text[i]) || IsLow(text[i]) ? replacement : text[i]);
        }
    }
    return result;
}

/// The characters up to the first malformed sequence, if any.
struct Decoded {
    std::wstring text;
    bool isWhole = true;
};

/// The length of the well-formed sequence at `i` and its character; 0 for a malformed one.
std::size_t Decode(const std::string& text, std::size_t i, char32_t& character) {
    const auto byte = [&text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u;
    };
    const unsigned lead = byte(i);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t tail = 1; tail < length; ++tail) {
        if ((byte(i + tail) & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (byte(i + tail) & 0x3F);
    }
    const bool isOverlong =
        (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return isOverlong || isSurrogate || character > 0x10FFFF ? 0 : length;
}

Decoded DecodeAll(const std::string& text) {
    Decoded decoded;
    for (std::size_t i = 0; i != text.size();) {
        char32_t character = 0;
        const std::size_t length = Decode(text, i, character);
        if (length == 0) {
            decoded.isWhole = false;
            break;
        }
        AddUtf16(decoded.text, character);
        i += length;
    }
    return decoded;
}

void ConvertWide(const std::uint8_t* data, std::size_t size) {
    std::wstring text;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        text += static_cast<wchar_t>(data[i] << 8 | data[i + 1]);
    Require(ConvertUcs2ToUtf8(text) == Utf8Of(text), "the UTF-8 form");
}

// How many replacements a malformed sequence becomes is the platform's business.
void ConvertNarrow(const std::string& text) {
    const Decoded expected = DecodeAll(text);
    const std::wstring converted = ConvertUtf8ToUcs2(text);
    if (expected.isWhole) {
        Require(converted == expected.text, "the UTF-16 form");
        Require(ConvertUcs2ToUtf8(converted) == text, "the way back");
        return;
    }
    Require(converted.compare(0, expected.text.size(), expected.text) == 0,
            "what stands before a malformed sequence");
    Require(converted.find(static_cast<wchar_t>(replacement), expected.text.size()) !=
                std::wstring::npos,
            "a malformed sequence shows");
    Require(converted.size() <= text.size(), "no unit comes from nowhere");
    Require(ConvertUtf8ToUcs2(Utf8Of(converted)) == converted, "the result is well-formed");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ConvertWide(data, size);
    ConvertNarrow(std::string(data, data + size));
    return 0;
}
