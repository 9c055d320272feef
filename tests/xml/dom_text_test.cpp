#include <kq/xml/dom.h>

#include "support/thrown.h"
#include "xml/dom_fixture.h"
#include "xml/raw_dom.h"

using namespace kq_test;
using kq::xml::AddChildElement;
using kq::xml::AddChildTextNode;
using kq::xml::GetChildTextNodeValue;
using kq::xml::HasChildTextNode;

namespace {

class DomTextTest : public DomTest {};

TEST_F(DomTextTest, IsFoundAmongTheChildren) {
    const auto root = Parse(L"<root><empty/>text<b>bold</b>more</root>")->GetDocumentElement();
    EXPECT_TRUE(HasChildTextNode(*root));
    EXPECT_EQ(GetChildTextNodeValue(*root), L"text");
    const auto empty = root->GetChildNode(L"empty");
    EXPECT_FALSE(HasChildTextNode(*empty));
    EXPECT_EQ(ThrownText<std::logic_error>([&] { GetChildTextNodeValue(*empty); }),
              "Child node not available!");
    // Only the children count.
    EXPECT_FALSE(HasChildTextNode(*root->GetOwnerDocument()));
}

TEST_F(DomTextTest, IsAlsoACdataSection) {
    const auto root = Parse(L"<root><![CDATA[a < b && c]]></root>")->GetDocumentElement();
    EXPECT_TRUE(HasChildTextNode(*root));
    EXPECT_EQ(GetChildTextNodeValue(*root), L"a < b && c");
}

TEST_F(DomTextTest, IsAddedEmpty) {
    const auto document = Parse(L"<root xmlns='urn:a'/>");
    const auto root = document->GetDocumentElement();
    const Text first = AddChildTextNode(*root);
    EXPECT_EQ(first->GetValue(), L"");
    first->SetValue(L"first");
    EXPECT_EQ(GetChildTextNodeValue(*root), L"first");
    // The argument is a namespace.
    const Text second = AddChildTextNode(*AddChildElement(*root, L"child"), L"urn:b");
    EXPECT_EQ(second->GetValue(), L"");
    second->SetValue(L"second");
    const auto again = Parse(document->SaveText())->GetDocumentElement();
    EXPECT_EQ(GetChildTextNodeValue(*again), L"first");
    EXPECT_EQ(GetChildTextNodeValue(*again->GetChildNode(L"*")), L"second");
}

TEST_F(DomTextTest, IsEscapedWhenItIsSaved) {
    const auto document = Parse(L"<root/>");
    AddChildTextNode(*document->GetDocumentElement())->SetValue(L"<&>\"'");
    EXPECT_EQ(Body(*document), L"<root>&lt;&amp;&gt;\"'</root>");
    EXPECT_EQ(GetChildTextNodeValue(*Parse(document->SaveText())->GetDocumentElement()), L"<&>\"'");
}

TEST_F(DomTextTest, IsNoPlaceForAnotherText) {
    if (raw_dom::TakesChildOfText())
        GTEST_SKIP() << "this platform takes children of texts; Windows does not";
    const auto document = Parse(L"<root>text</root>");
    const auto text = document->GetDocumentElement()->GetChildNode(L"text()");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { AddChildTextNode(*text); }),
              "Failed to add child node!");
}

} // namespace
