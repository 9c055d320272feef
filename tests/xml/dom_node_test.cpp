#include <kq/xml/dom.h>

#include "support/com_failure.h"
#include "support/thrown.h"
#include "xml/dom_fixture.h"
#include "xml/raw_dom.h"

#include <boost/make_shared.hpp>

using namespace kq_test;
using kq::dynamic_reference_cast;
using kq::xml::DomDocument;
using kq::xml::DomElement;
using kq::xml::DomNode;
using kq::xml::DomTextNode;

namespace {

class DomNodeTest : public DomTest {
protected:
    const Document document_ = Parse(
        L"<root>"
        L"<first a='1' b='two'>text</first>"
        L"<second/><!--a comment--><?target data?>"
        L"<![CDATA[<raw>]]><first/>"
        L"</root>");
    const Element root_ = document_->GetDocumentElement();

    Node Child(const std::wstring& xpath) const { return root_->GetChildNode(xpath); }
};

TEST_F(DomNodeTest, HasTheNameOfItsKind) {
    EXPECT_EQ(root_->GetName(), L"root");
    EXPECT_EQ(Child(L"first/text()")->GetName(), L"#text");
    EXPECT_EQ(Child(L"comment()")->GetName(), L"#comment");
    EXPECT_EQ(Child(L"processing-instruction()")->GetName(), L"target");
    EXPECT_EQ(Child(L"text()")->GetName(), L"#cdata-section");
    EXPECT_EQ(Child(L"first/@b")->GetName(), L"b");
    EXPECT_EQ(document_->GetName(), L"#document");
}

TEST_F(DomNodeTest, HasTheInterfaceOfItsKind) {
    const auto isElement = [](const Node& node) {
        return dynamic_cast<DomElement*>(node.get()) != nullptr;
    };
    const auto isText = [](const Node& node) {
        return dynamic_cast<DomTextNode*>(node.get()) != nullptr;
    };
    EXPECT_TRUE(isElement(Child(L"first")));
    EXPECT_TRUE(isText(Child(L"first/text()")));
    EXPECT_TRUE(isText(Child(L"text()")));
    for (const wchar_t* const other : {L"comment()", L"processing-instruction()", L"first/@a"}) {
        EXPECT_FALSE(isElement(Child(other)));
        EXPECT_FALSE(isText(Child(other)));
    }
    EXPECT_NO_THROW(dynamic_reference_cast<DomDocument>(Child(L"/")));
}

TEST_F(DomNodeTest, IsNotCastToAnInterfaceThatItDoesNotHave) {
    try {
        dynamic_reference_cast<DomElement>(Child(L"comment()"));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::bad_cast& error) {
        EXPECT_STREQ(error.what(), "bad dynamic_reference_cast");
    }
}

TEST_F(DomNodeTest, HasAValueUnlessItIsAnElementOrADocument) {
    EXPECT_FALSE(root_->HasValue());
    EXPECT_FALSE(document_->HasValue());
    const std::pair<const wchar_t*, const wchar_t*> values[] = {
        {L"first/text()", L"text"},
        {L"comment()", L"a comment"},
        {L"processing-instruction()", L"data"},
        {L"text()", L"<raw>"},
        {L"first/@b", L"two"},
    };
    for (const auto& [xpath, value] : values) {
        EXPECT_TRUE(Child(xpath)->HasValue());
        EXPECT_EQ(Child(xpath)->GetValue(), value);
    }
}

TEST_F(DomNodeTest, WithoutAValueSaysSo) {
    EXPECT_EQ(ThrownText<std::logic_error>([&] { root_->GetValue(); }), "Value not available!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { document_->GetValue(); }), "Value not available!");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { root_->SetValue(L"value"); }),
              "Failed to set node value!");
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { document_->SetValue(L"value"); }),
              "Failed to set node value!");
}

TEST_F(DomNodeTest, TakesAValue) {
    for (const wchar_t* const xpath :
         {L"first/text()", L"comment()", L"processing-instruction()", L"text()", L"first/@b"}) {
        Child(xpath)->SetValue(L"new & <old>");
        EXPECT_EQ(Child(xpath)->GetValue(), L"new & <old>");
    }
    EXPECT_EQ(Body(*document_),
              L"<root><first a=\"1\" b=\"new &amp; &lt;old&gt;\">"
              L"new &amp; &lt;old&gt;</first><second/><!--new & <old>-->"
              L"<?target new & <old>?><![CDATA[new & <old>]]><first/></root>");
}

TEST_F(DomNodeTest, GivesItsAttributesByName) {
    const auto attributes = Child(L"first")->GetAttributes();
    ASSERT_EQ(attributes.size(), 2u);
    EXPECT_EQ(attributes.at(L"a")->GetValue(), L"1");
    EXPECT_EQ(attributes.at(L"b")->GetValue(), L"two");
    attributes.at(L"b")->SetValue(L"changed");
    EXPECT_EQ(Child(L"first/@b")->GetValue(), L"changed");
    EXPECT_TRUE(root_->GetAttributes().empty());
}

TEST_F(DomNodeTest, WithoutRoomForAttributesSaysSo) {
    EXPECT_EQ(ComFailureOf([&] { document_->GetAttributes(); }), E_POINTER);
    for (const wchar_t* const xpath : {L"first/text()", L"comment()", L"first/@a"})
        EXPECT_EQ(ComFailureOf([&] { Child(xpath)->GetAttributes(); }), E_POINTER);
}

TEST_F(DomNodeTest, GivesItsChildrenInOrder) {
    EXPECT_TRUE(root_->HasChildNodes());
    EXPECT_EQ(Names(root_->GetChildNodes()), L"first second #comment target #cdata-section first");
    EXPECT_FALSE(Child(L"second")->HasChildNodes());
    EXPECT_TRUE(Child(L"second")->GetChildNodes().empty());
    EXPECT_TRUE(Child(L"comment()")->GetChildNodes().empty());
}

TEST_F(DomNodeTest, GivesWhatIsSelectedInOrder) {
    EXPECT_EQ(Names(root_->GetChildNodes(L"*")), L"first second first");
    EXPECT_EQ(Names(root_->GetChildNodes(L"second | first")), L"first second first");
    EXPECT_EQ(Names(root_->GetChildNodes(L"first/@*")), L"a b");
    EXPECT_TRUE(root_->GetChildNodes(L"third").empty());
    EXPECT_EQ(Names(document_->GetChildNodes(L"//first")), L"first first");
}

TEST_F(DomNodeTest, GivesTheFirstThatIsSelected) {
    EXPECT_TRUE(root_->HasChildNode(L"first"));
    EXPECT_FALSE(root_->HasChildNode(L"third"));
    const kq::shared_ref<const DomElement, boost::shared_ptr> constant = root_;
    EXPECT_EQ(Child(L"first")->GetAttributes().size(), 2u);
    EXPECT_EQ(constant->GetChildNode(L"first")->GetAttributes().size(), 2u);
    static_assert(std::is_same_v<decltype(constant->GetChildNode(L"")), ConstNode>);
    static_assert(std::is_same_v<decltype(root_->GetChildNode(L"")), Node>);
    EXPECT_EQ(ThrownText<std::logic_error>([&] { root_->GetChildNode(L"third"); }),
              "Child node not available!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { constant->GetChildNode(L"third"); }),
              "Child node not available!");
}

TEST_F(DomNodeTest, RefusesExpressionsThatAreNone) {
    for (const wchar_t* const xpath : {L"", L"#text", L"[", L"a[", L"a/", L"unknown:a", L"f()"}) {
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { root_->HasChildNode(xpath); }),
                  "Failed to get child node!")
            << testing::PrintToString(xpath);
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { root_->GetChildNode(xpath); }),
                  "Failed to get child node!");
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { root_->GetChildNodes(xpath); }),
                  "Failed to get child nodes!");
    }
}

TEST_F(DomNodeTest, AddsAChildAtTheEnd) {
    const Node second = Child(L"second");
    const Element added = document_->CreateElement(L"added", L"");
    const Node returned = second->AddChildNode(added);
    EXPECT_EQ(returned->GetName(), L"added");
    added->SetAttribute(L"same", L"node");
    EXPECT_EQ(dynamic_reference_cast<DomElement>(returned)->GetAttribute(L"same"), L"node");
    second->AddChildNode(document_->CreateElement(L"last", L""));
    EXPECT_EQ(Names(second->GetChildNodes()), L"added last");
}

TEST_F(DomNodeTest, TakesAChildFromWhereItStood) {
    Child(L"second")->AddChildNode(Child(L"first"));
    EXPECT_EQ(Names(root_->GetChildNodes()), L"second #comment target #cdata-section first");
    EXPECT_EQ(Child(L"second/first/@b")->GetValue(), L"two");
    // Also from another document.
    const auto other = Parse(L"<other><moved/></other>");
    root_->AddChildNode(other->GetDocumentElement()->GetChildNode(L"moved"));
    EXPECT_TRUE(root_->HasChildNode(L"moved"));
    EXPECT_FALSE(other->GetDocumentElement()->HasChildNodes());
}

TEST_F(DomNodeTest, RefusesChildrenWhereThereCanBeNone) {
    const auto add = [&](const Node& parent, const Node& child) {
        return ThrownText<std::runtime_error>([&] { parent->AddChildNode(child); });
    };
    EXPECT_EQ(add(root_, document_), "Failed to add child node!");
    EXPECT_EQ(add(root_, Child(L"first/@a")), "Failed to add child node!");
    if (raw_dom::TakesChildOfText())
        GTEST_SKIP() << "this platform takes children of texts; Windows does not";
    for (const wchar_t* const xpath : {L"comment()", L"text()", L"processing-instruction()"})
        EXPECT_EQ(add(Child(xpath), document_->CreateElement(L"a", L"")),
                  "Failed to add child node!");
}

TEST_F(DomNodeTest, RemovesAChild) {
    const Node first = Child(L"first");
    const Node removed = root_->RemoveChildNode(first);
    EXPECT_EQ(removed->GetName(), L"first");
    EXPECT_EQ(removed->GetAttributes().size(), 2u);
    EXPECT_EQ(Names(root_->GetChildNodes()), L"second #comment target #cdata-section first");
    root_->AddChildNode(removed);
    EXPECT_EQ(Names(root_->GetChildNodes()), L"second #comment target #cdata-section first first");
    for (const Node& child : root_->GetChildNodes())
        root_->RemoveChildNode(child);
    EXPECT_FALSE(root_->HasChildNodes());
}

TEST_F(DomNodeTest, LooksUpTheNameOfWhatCannotBeRemoved) {
    const auto remove = [&](const Node& child) { root_->RemoveChildNode(child); };
    // No child of that name.
    EXPECT_EQ(ThrownText<std::logic_error>([&] { remove(document_->CreateElement(L"x", L"")); }),
              "Child node not available!");
    // A child of that name, but another one.
    EXPECT_EQ(
        ThrownText<std::runtime_error>([&] { remove(document_->CreateElement(L"first", L"")); }),
        "Failed to remove child node!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { remove(root_); }), "Child node not available!");
    // A name that cannot be looked up.
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { remove(Child(L"first/text()")); }),
              "Failed to get child node!");
    EXPECT_EQ(Names(root_->GetChildNodes()), L"first second #comment target #cdata-section first");
}

// A node of somebody else; the library never calls it.
class ForeignNode final : public DomNode {
public:
    using Documents = kq::shared_ref<DomDocument, boost::shared_ptr>;
    using ConstDocuments = kq::shared_ref<const DomDocument, boost::shared_ptr>;

    ConstDocuments GetOwnerDocument() const override { Fail(); }
    Documents GetOwnerDocument() override { Fail(); }
    std::wstring GetName() const override { Fail(); }
    std::wstring GetNamespaceURI() const override { Fail(); }
    bool HasValue() const override { Fail(); }
    std::wstring GetValue() const override { Fail(); }
    void SetValue(const std::wstring&) override { Fail(); }
    std::map<std::wstring, Node> GetAttributes() const override { Fail(); }
    bool HasChildNode(const std::wstring&) const override { Fail(); }
    bool HasChildNodes() const override { Fail(); }
    std::vector<Node> GetChildNodes(const std::wstring&) const override { Fail(); }
    std::vector<Node> GetChildNodes() const override { Fail(); }
    ConstNode GetChildNode(const std::wstring&) const override { Fail(); }
    Node GetChildNode(const std::wstring&) override { Fail(); }
    Node AddChildNode(const Node&) override { Fail(); }
    Node RemoveChildNode(const Node&) override { Fail(); }

private:
    [[noreturn]] static void Fail() { throw std::runtime_error("the foreign node was called"); }
};

TEST_F(DomNodeTest, RefusesNodesOfSomebodyElse) {
    const Node foreign = boost::shared_ptr<DomNode>(boost::make_shared<ForeignNode>());
    EXPECT_EQ(ThrownText<std::bad_cast>([&] { root_->AddChildNode(foreign); }),
              std::bad_cast().what());
    EXPECT_EQ(ThrownText<std::bad_cast>([&] { root_->RemoveChildNode(foreign); }),
              std::bad_cast().what());
}

} // namespace
