#include <kq/xml/dom.h>

#include "support/com_failure.h"
#include "support/thrown.h"
#include "xml/dom_fixture.h"
#include "xml/raw_dom.h"

#include <atomic>
#include <regex>
#include <thread>

using namespace kq_test;
using kq::dynamic_reference_cast;
using kq::xml::AddChildElement;
using kq::xml::DomDocument;

namespace {

class DomDocumentTest : public DomTest {};

// The text of the failure, and whether the rest of it has a line and a column.
void ExpectParseError(const std::string& text, const std::string& failure) {
    const std::regex form(failure + ": [^]* in line -?[0-9]+ at character -?[0-9]+");
    EXPECT_TRUE(std::regex_match(text, form)) << text;
}

TEST_F(DomDocumentTest, IsCreatedWithADeclarationOnly) {
    const auto document = DomDocument::Create();
    EXPECT_EQ(document->SaveText().substr(0, std::size(declaration) - 1), declaration);
    EXPECT_EQ(Body(*document), L"");
    const auto nodes = document->GetChildNodes();
    ASSERT_EQ(nodes.size(), 1u);
    EXPECT_EQ(nodes[0]->GetName(), L"xml");
    EXPECT_EQ(nodes[0]->GetValue(), L"version=\"1.0\" encoding=\"utf-8\"");
    EXPECT_TRUE(document->HasChildNodes());
}

TEST_F(DomDocumentTest, HasNoDocumentElementAtFirst) {
    const auto document = DomDocument::Create();
    const kq::shared_ref<const DomDocument, boost::shared_ptr> constant = document;
    EXPECT_FALSE(document->HasDocumentElement());
    EXPECT_EQ(document->GetNamespaceURI(), L"");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { document->GetDocumentElement(); }),
              "Child node not available!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { constant->GetDocumentElement(); }),
              "Child node not available!");
}

TEST_F(DomDocumentTest, GivesItsDocumentElement) {
    const auto document = Parse(L"<!--first--><root xmlns='urn:a'/>");
    const kq::shared_ref<const DomDocument, boost::shared_ptr> constant = document;
    EXPECT_TRUE(document->HasDocumentElement());
    EXPECT_EQ(document->GetDocumentElement()->GetName(), L"root");
    EXPECT_EQ(constant->GetDocumentElement()->GetName(), L"root");
    EXPECT_EQ(document->GetNamespaceURI(), L"urn:a");
}

TEST_F(DomDocumentTest, IsItsOwnDocument) {
    const auto document = DomDocument::Create();
    AddChildElement(*document->GetOwnerDocument(), L"root", L"");
    EXPECT_EQ(document->GetDocumentElement()->GetName(), L"root");
    const auto root = document->GetDocumentElement();
    root->GetOwnerDocument()->GetDocumentElement()->SetAttribute(L"a", L"1");
    EXPECT_EQ(root->GetAttribute(L"a"), L"1");
    const ConstNode constant = root;
    EXPECT_EQ(constant->GetOwnerDocument()->GetDocumentElement()->GetName(), L"root");
    const ConstNode constantDocument = document;
    EXPECT_TRUE(constantDocument->GetOwnerDocument()->HasDocumentElement());
}

TEST_F(DomDocumentTest, OutlivesItsObjectInItsNodes) {
    const auto root = Parse(L"<root>text</root>")->GetDocumentElement();
    EXPECT_EQ(kq::xml::GetChildTextNodeValue(*root), L"text");
    EXPECT_EQ(Body(*root->GetOwnerDocument()), L"<root>text</root>");
}

TEST_F(DomDocumentTest, IsANodeAmongOthers) {
    const auto document = Parse(L"<root/>");
    EXPECT_EQ(document->GetName(), L"#document");
    EXPECT_FALSE(document->HasValue());
    const auto parent = document->GetDocumentElement()->GetChildNode(L"..");
    EXPECT_EQ(dynamic_reference_cast<DomDocument>(parent)->GetDocumentElement()->GetName(),
              L"root");
}

TEST_F(DomDocumentTest, CreatesElementsOutsideTheTree) {
    const auto document = Parse(L"<root xmlns='urn:a'/>");
    const auto inherited = document->CreateElement(L"one");
    EXPECT_EQ(inherited->GetName(), L"one");
    EXPECT_EQ(inherited->GetNamespaceURI(), L"urn:a");
    const auto named = document->CreateElement(L"p:two", L"urn:b");
    EXPECT_EQ(named->GetName(), L"p:two");
    EXPECT_EQ(named->GetNamespaceURI(), L"urn:b");
    const auto plain = document->CreateElement(L"three", L"");
    EXPECT_EQ(plain->GetNamespaceURI(), L"");
    EXPECT_FALSE(document->GetDocumentElement()->HasChildNodes());
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { document->CreateElement(L"", L""); }),
              "Failed to create DOM element!");
}

TEST_F(DomDocumentTest, CreatesEmptyTextsOutsideTheTree) {
    const auto document = Parse(L"<root xmlns='urn:a'/>");
    for (const auto& text : {document->CreateTextNode(), document->CreateTextNode(L"urn:b"),
                             document->CreateTextNode(L"")}) {
        EXPECT_EQ(text->GetName(), L"#text");
        EXPECT_EQ(text->GetValue(), L"");
    }
    EXPECT_FALSE(document->GetDocumentElement()->HasChildNodes());
}

TEST_F(DomDocumentTest, ReplacesItsContentWhenItLoads) {
    const auto document = Parse(L"<first/>");
    const auto first = document->GetDocumentElement();
    document->LoadText(L"<second/>");
    EXPECT_EQ(document->GetDocumentElement()->GetName(), L"second");
    EXPECT_EQ(first->GetName(), L"first");
}

TEST_F(DomDocumentTest, TellsWhyATextCannotBeLoaded) {
    for (const wchar_t* const text :
         {L"", L"   ", L"no markup", L"<root>", L"<root/><root/>", L"<a></b>",
          L"<a>&undefined;</a>", L"<a b='1' b='2'/>", L"<a><", L"<?xml version='1.0'?>"}) {
        ExpectParseError(ThrownText<std::runtime_error>([&] { DomDocument::CreateFromText(text); }),
                         "Failed to load XML string!");
        const auto document = Parse(L"<root/>");
        ExpectParseError(ThrownText<std::runtime_error>([&] { document->LoadText(text); }),
                         "Failed to load XML string!");
        document->LoadText(L"<again/>");
        EXPECT_EQ(document->GetDocumentElement()->GetName(), L"again");
    }
}

TEST_F(DomDocumentTest, RefusesPrefixesThatAreNotDeclared) {
    if (raw_dom::Loads(L"<p:a/>"))
        GTEST_SKIP() << "this platform takes prefixes without a declaration; Windows does not";
    ExpectParseError(ThrownText<std::runtime_error>([] { Parse(L"<p:a/>"); }),
                     "Failed to load XML string!");
}

TEST_F(DomDocumentTest, TellsWhyAFileCannotBeLoaded) {
    ExpectParseError(ThrownText<std::runtime_error>(
                         [] { DomDocument::CreateFromFile(L"C:\\no such file.xml"); }),
                     "Failed to load XML file!");
}

TEST(DomDocumentWithoutCom, SaysSo) {
    EXPECT_EQ(ComFailureOf([] { DomDocument::Create(); }), CO_E_NOTINITIALIZED);
    EXPECT_EQ(ComFailureOf([] { DomDocument::CreateFromText(L"<a/>"); }), CO_E_NOTINITIALIZED);
    EXPECT_EQ(ComFailureOf([] { DomDocument::CreateFromFile(L"a.xml"); }), CO_E_NOTINITIALIZED);
}

TEST(DomDocumentInASingleThreadedApartment, Works) {
    const kq::com::ComUsage com(COINIT_APARTMENTTHREADED);
    const auto document = Parse(L"<root>text</root>");
    EXPECT_EQ(kq::xml::GetChildTextNodeValue(*document->GetDocumentElement()), L"text");
}

TEST_F(DomDocumentTest, IsUsedByOneThreadAfterTheOther) {
    const auto document = Parse(L"<root/>");
    std::thread([document] {
        const kq::com::ComUsage com;
        AddChildElement(*document->GetDocumentElement(), L"child", L"");
    }).join();
    EXPECT_EQ(Body(*document), L"<root><child/></root>");
}

TEST_F(DomDocumentTest, WorksOnSeveralThreadsAtOnceIfThereAreSeveral) {
    constexpr int rounds = 200;
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int thread = 0; thread != 4; ++thread)
        threads.emplace_back([&right] {
            const kq::com::ComUsage com;
            for (int round = 0; round != rounds; ++round) {
                const auto document = Parse(L"<root><a/><a/><b/></root>");
                const auto root = document->GetDocumentElement();
                AddChildElement(*root, L"a")->SetAttribute(L"n", L"1");
                if (root->GetChildNodes(L"a").size() == 3 &&
                    Body(*document) == L"<root><a/><a/><b/><a n=\"1\"/></root>")
                    ++right;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 4 * rounds);
}

} // namespace
