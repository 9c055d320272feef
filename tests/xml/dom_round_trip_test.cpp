#include <kq/xml/dom.h>

#include "support/file_bytes.h"
#include "support/scratch_folder.h"
#include "xml/dom_fixture.h"

#include <string>

using namespace kq_test;
using kq::xml::AddChildElement;
using kq::xml::AddChildTextNode;
using kq::xml::DomDocument;
using kq::xml::DomElement;
using kq::xml::DomNode;

namespace {

class DomRoundTripTest : public DomTest {};

// The tree as text: every node with its kind, its names, its value and its attributes. Only the
// white space between the declaration and the document element is the platform's business.
std::wstring Tree(const DomNode& node) {
    std::wstring text = L"(" + node.GetName() + L"{" + node.GetNamespaceURI() + L"}";
    if (node.HasValue())
        text += L"=" + node.GetValue();
    // Not `GetAttributes`, which lists default namespaces on some platforms and fails on others.
    if (dynamic_cast<const DomElement*>(&node) != nullptr)
        for (const Node& attribute : node.GetChildNodes(L"@*"))
            text += L" @" + attribute->GetName() + L"=" + attribute->GetValue();
    for (const Node& child : node.GetChildNodes())
        text += Tree(*child);
    return text + L")";
}

std::wstring TreeOf(const DomDocument& document) { return Tree(*document.GetDocumentElement()); }

// Documents of every kind.
const wchar_t* const corpus[] = {
    L"<a/>",
    L"<a></a>",
    L"<a b='1' c='&lt;&quot;&apos;&gt;&amp;'/>",
    L"<a> leading and trailing </a>",
    L"<a>\n\t<b/>\n\t<b>  </b>\n</a>",
    L"<a> <b> </b> </a>",
    L"<a xml:space='preserve'>  <b/>  </a>",
    L"<a><![CDATA[<raw> & ]] > ]]></a>",
    L"<a>before<![CDATA[]]>after</a>",
    L"<a><!-- a comment - with a hyphen --></a>",
    L"<a><!----></a>",
    L"<a><?target some data?><?empty?></a>",
    L"<a>&lt;&gt;&amp;&quot;&apos;</a>",
    L"<a>\u00e4\u20ac\U0001f600</a>",
    L"<\u00fcber \u00e4='\u00f6'/>",
    L"<a xmlns='urn:a'><b xmlns=''><c xmlns='urn:c'/></b></a>",
    L"<p:a xmlns:p='urn:p'><p:b p:c='1' c='2'/></p:a>",
    L"<a><b xmlns:p='urn:1'><p:c/></b><b xmlns:p='urn:2'><p:c/></b></a>",
    L"<a>one<b>two</b>three<b/>four</a>",
    L"<a-b.c_d:e xmlns:a-b.c_d='urn:x'/>",
};

TEST_F(DomRoundTripTest, KeepsTheTreeAsText) {
    for (const wchar_t* const text : corpus) {
        const auto first = Parse(text);
        const std::wstring saved = first->SaveText();
        const auto second = Parse(saved);
        EXPECT_EQ(TreeOf(*second), TreeOf(*first));
        EXPECT_EQ(second->SaveText(), saved);
    }
}

TEST_F(DomRoundTripTest, KeepsTheTreeAsAFile) {
    const ScratchFolder folder;
    const auto file = folder / L"document.xml";
    for (const wchar_t* const text : corpus) {
        const auto first = Parse(std::wstring(declaration) + text);
        first->SaveFile(file);
        const std::string bytes = ReadBytes(file.native());
        const auto second = DomDocument::CreateFromFile(file);
        EXPECT_EQ(TreeOf(*second), TreeOf(*first));
        second->SaveFile(file);
        EXPECT_EQ(ReadBytes(file.native()), bytes);
    }
}

TEST_F(DomRoundTripTest, KeepsWhatStandsAroundTheDocumentElement) {
    const auto document = Parse(L"<!--before--><?style sheet?><a/><!--after-->");
    const auto again = Parse(document->SaveText());
    EXPECT_EQ(Names(again->GetChildNodes(L"node()")), L"#comment style a #comment");
}

TEST_F(DomRoundTripTest, KeepsWhiteSpaceAsItWas) {
    const wchar_t* const text = L"<a>\n  <b> x </b>\n\n\t<c/> \n</a>";
    EXPECT_EQ(Body(*Parse(text)), text);
}

TEST_F(DomRoundTripTest, KeepsWhatWasBuilt) {
    const auto document = DomDocument::Create();
    const Element root = AddChildElement(*document, L"root", L"urn:root");
    for (int index = 0; index != 3; ++index) {
        const Element child = AddChildElement(*root, L"child");
        child->SetAttribute(L"index", std::to_wstring(index));
        AddChildTextNode(*child)->SetValue(L" text " + std::to_wstring(index) + L" <&> ");
    }
    const auto again = Parse(document->SaveText());
    EXPECT_EQ(TreeOf(*again), TreeOf(*document));
}

TEST_F(DomRoundTripTest, WritesUtf8WithTheDeclaration) {
    const ScratchFolder folder;
    const auto file = folder / L"document.xml";
    const auto document = DomDocument::Create();
    AddChildTextNode(*AddChildElement(*document, L"a", L""))->SetValue(L"\u00e4\u20ac\U0001f600");
    document->SaveFile(file);
    const std::string bytes = ReadBytes(file.native());
    EXPECT_EQ(bytes.substr(0, 38), "<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    EXPECT_NE(bytes.find("<a>\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80</a>"), std::string::npos);
}

} // namespace
