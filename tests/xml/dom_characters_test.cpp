#include <kq/xml/dom.h>

#include "support/thrown.h"
#include "xml/dom_fixture.h"

#include <cstdint>
#include <string>

using namespace kq_test;
using kq::xml::AddChildElement;
using kq::xml::AddChildTextNode;
using kq::xml::DomDocument;
using kq::xml::GetChildTextNodeValue;

namespace {

class DomCharactersTest : public DomTest {};

// What XML 1.0 calls a Char.
bool IsCharacter(std::uint32_t code) {
    return code == 0x9 || code == 0xa || code == 0xd || (code >= 0x20 && code <= 0xd7ff) ||
           (code >= 0xe000 && code <= 0xfffd) || (code >= 0x10000 && code <= 0x10ffff);
}

void Append(std::wstring& text, std::uint32_t code) {
    if (code < 0x10000) {
        text += static_cast<wchar_t>(code);
        return;
    }
    text += static_cast<wchar_t>(0xd800 + ((code - 0x10000) >> 10));
    text += static_cast<wchar_t>(0xdc00 + ((code - 0x10000) & 0x3ff));
}

// All characters from `begin` to `end` but the carriage return, which no XML processor keeps unless
// it is written as a reference.
std::wstring Characters(std::uint32_t begin, std::uint32_t end) {
    std::wstring text;
    for (std::uint32_t code = begin; code != end; ++code)
        if (IsCharacter(code) && code != 0xd)
            Append(text, code);
    return text;
}

// Calls `check` with each text, until the test has failed.
template <class Check>
void ForEachText(Check check) {
    constexpr std::uint32_t end = 0x110000;
    constexpr std::uint32_t page = 0x1000;
    for (std::uint32_t begin = 0; begin != end && !testing::Test::HasFailure(); begin += page) {
        SCOPED_TRACE(begin);
        const std::wstring text = Characters(begin, begin + page);
        if (!text.empty())
            check(text);
    }
}

TEST_F(DomCharactersTest, ComeBackFromATextNode) {
    ForEachText([](const std::wstring& text) {
        const auto document = DomDocument::Create();
        const Element root = AddChildElement(*document, L"a", L"");
        AddChildTextNode(*root)->SetValue(text);
        EXPECT_EQ(GetChildTextNodeValue(*root), text);
        const auto again = Parse(document->SaveText());
        EXPECT_EQ(GetChildTextNodeValue(*again->GetDocumentElement()), text);
    });
}

TEST_F(DomCharactersTest, ComeBackFromAnAttribute) {
    ForEachText([](const std::wstring& text) {
        const auto document = DomDocument::Create();
        const Element root = AddChildElement(*document, L"a", L"");
        root->SetAttribute(L"b", text);
        EXPECT_EQ(root->GetAttribute(L"b"), text);
        const auto again = Parse(document->SaveText());
        EXPECT_EQ(again->GetDocumentElement()->GetAttribute(L"b"), text);
    });
}

TEST_F(DomCharactersTest, ComeAlsoAsReferences) {
    const auto root = Parse(
                          L"<a b='&#228;&#x20ac;&#x1F600;'>&#9;&#10;&#13;&#228;&#x20ac;&#x1F600;"
                          L"&lt;&gt;&amp;&quot;&apos;</a>")
                          ->GetDocumentElement();
    EXPECT_EQ(GetChildTextNodeValue(*root), L"\t\n\r\u00e4\u20ac\U0001f600<>&\"'");
    EXPECT_EQ(root->GetAttribute(L"b"), L"\u00e4\u20ac\U0001f600");
}

TEST_F(DomCharactersTest, ThatXmlDoesNotAllowAreRefused) {
    for (const std::uint32_t code : {0x1u, 0x8u, 0xbu, 0xcu, 0xeu, 0x1fu, 0xfffeu, 0xffffu}) {
        std::wstring text = L"<a>";
        Append(text, code);
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { Parse(text + L"</a>"); }).substr(0, 26),
                  "Failed to load XML string!")
            << std::hex << code;
    }
    for (const wchar_t* const reference :
         {L"&#0;", L"&#1;", L"&#x1f;", L"&#xd800;", L"&#xfffe;", L"&#x110000;"})
        EXPECT_EQ(ThrownText<std::runtime_error>([&] {
                      Parse(std::wstring(L"<a>") + reference + L"</a>");
                  }).substr(0, 26),
                  "Failed to load XML string!")
            << testing::PrintToString(reference);
}

TEST_F(DomCharactersTest, EndsOfLinesBecomeLineFeeds) {
    const auto root = Parse(L"<a>one\r\ntwo\rthree\nfour</a>")->GetDocumentElement();
    EXPECT_EQ(GetChildTextNodeValue(*root), L"one\ntwo\nthree\nfour");
}

} // namespace
