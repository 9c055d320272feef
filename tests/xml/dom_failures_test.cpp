#include "xml/implementations.h"
#include "xml/wrap.h"

#include "support/com_failure.h"
#include "support/thrown.h"
#include "xml/failing_dom.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

using kq::shared_ref;
using kq::xml::DocumentPointer;
using kq::xml::DomDocumentImplementation;
using kq::xml::DomElementImplementation;
using kq::xml::DomNode;
using kq::xml::DomNodeImplementation;
using kq::xml::NodePointer;
using kq::xml::Wrap;
using kq::xml::WrapDocument;

namespace {

// Not made from a derived class, which would ask it for its interface.
NodePointer Pointer(IXMLDOMNode& node) { return NodePointer(&node); }

template <class Action>
std::string RuntimeFailure(Action action) {
    return ThrownText<std::runtime_error>(action);
}

TEST(DomFailures, OfNodes) {
    failing::Node platform;
    DomNodeImplementation node{Pointer(platform)};
    const DomNode& constant = node;
    EXPECT_EQ(RuntimeFailure([&] { node.GetNamespaceURI(); }), "Failed to get default namespace!");
    EXPECT_EQ(RuntimeFailure([&] { node.HasValue(); }), "Failed to get node value!");
    EXPECT_EQ(RuntimeFailure([&] { node.GetValue(); }), "Failed to get node value!");
    EXPECT_EQ(RuntimeFailure([&] { node.SetValue(L""); }), "Failed to set node value!");
    EXPECT_EQ(RuntimeFailure([&] { node.GetAttributes(); }), "Failed to get attributes!");
    EXPECT_EQ(RuntimeFailure([&] { node.HasChildNode(L"a"); }), "Failed to get child node!");
    EXPECT_EQ(RuntimeFailure([&] { node.GetChildNode(L"a"); }), "Failed to get child node!");
    EXPECT_EQ(RuntimeFailure([&] { constant.GetChildNode(L"a"); }), "Failed to get child node!");
    EXPECT_EQ(RuntimeFailure([&] { node.GetChildNodes(L"a"); }), "Failed to get child nodes!");
    EXPECT_EQ(RuntimeFailure([&] { node.GetChildNodes(); }), "Failed to get child nodes!");
    const shared_ref<DomNode, boost::shared_ptr> child = Wrap(Pointer(platform));
    EXPECT_EQ(RuntimeFailure([&] { node.AddChildNode(child); }), "Failed to add child node!");
}

TEST(DomFailures, OfNodesThatHaveNoTextAreThoseOfCom) {
    failing::Node platform;
    DomNodeImplementation node{Pointer(platform)};
    const DomNode& constant = node;
    EXPECT_EQ(ComFailureOf([&] { node.GetName(); }), E_FAIL);
    EXPECT_EQ(ComFailureOf([&] { node.HasChildNodes(); }), E_FAIL);
    EXPECT_EQ(ComFailureOf([&] { node.GetOwnerDocument(); }), E_FAIL);
    EXPECT_EQ(ComFailureOf([&] { constant.GetOwnerDocument(); }), E_FAIL);
}

TEST(DomFailures, OfNullPointersAreThoseOfCom) {
    DomNodeImplementation node{NodePointer()};
    EXPECT_EQ(ComFailureOf([&] { node.GetName(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { node.HasValue(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { node.GetOwnerDocument(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([] { Wrap(NodePointer()); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([] { WrapDocument(DocumentPointer()); }), E_POINTER);
}

// Succeeds without giving anything.
class SilentNode final : public failing::Node {
public:
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap**) override { return S_FALSE; }
    STDMETHODIMP get_ownerDocument(IXMLDOMDocument**) override { return S_FALSE; }
    STDMETHODIMP appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return S_OK; }
    STDMETHODIMP get_nodeName(BSTR*) override { return S_FALSE; }
    STDMETHODIMP get_namespaceURI(BSTR*) override { return S_FALSE; }
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        V_VT(value) = VT_BSTR;
        V_BSTR(value) = nullptr;
        return S_OK;
    }
};

TEST(DomFailures, OfMissingObjectsAreThoseOfCom) {
    SilentNode platform;
    DomNodeImplementation node{Pointer(platform)};
    EXPECT_EQ(ComFailureOf([&] { node.GetAttributes(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { node.GetOwnerDocument(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { node.AddChildNode(Wrap(Pointer(platform))); }), E_POINTER);
}

TEST(DomFailures, OfMissingTextsAreNone) {
    SilentNode platform;
    const DomNodeImplementation node{Pointer(platform)};
    EXPECT_EQ(node.GetName(), L"");
    EXPECT_EQ(node.GetNamespaceURI(), L"");
    EXPECT_TRUE(node.HasValue());
    EXPECT_EQ(node.GetValue(), L"");
}

class NodeWithNumber final : public failing::Node {
public:
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        V_VT(value) = VT_I4;
        V_I4(value) = 17;
        return S_OK;
    }
};

TEST(DomFailures, OfValuesThatAreNoTexts) {
    NodeWithNumber platform;
    const DomNodeImplementation node{Pointer(platform)};
    EXPECT_TRUE(node.HasValue());
    EXPECT_EQ(RuntimeFailure([&] { node.GetValue(); }), "Node value is not a string!");
}

class NodeWithZero final : public failing::Node {
public:
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        V_VT(value) = VT_BSTR;
        V_BSTR(value) = SysAllocStringLen(L"up to\0here", 10);
        return S_OK;
    }
};

TEST(DomFailures, OfValuesEndAtTheFirstZero) {
    NodeWithZero platform;
    const DomNodeImplementation node{Pointer(platform)};
    EXPECT_EQ(node.GetValue(), L"up to");
}

class NodeWithAttributes final : public failing::Node {
public:
    explicit NodeWithAttributes(IXMLDOMNamedNodeMap& attributes) : attributes_(attributes) {}
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** attributes) override {
        *attributes = &attributes_;
        return S_OK;
    }

private:
    IXMLDOMNamedNodeMap& attributes_;
};

class CountedAttributes final : public failing::AttributeMap {
public:
    STDMETHODIMP get_length(long* length) override {
        *length = 1;
        return S_OK;
    }
};

TEST(DomFailures, OfAttributeMaps) {
    failing::AttributeMap attributes;
    NodeWithAttributes platform(attributes);
    const DomNodeImplementation node{Pointer(platform)};
    EXPECT_EQ(RuntimeFailure([&] { node.GetAttributes(); }), "Failed to get attribute map size!");
    CountedAttributes counted;
    NodeWithAttributes countedPlatform(counted);
    const DomNodeImplementation countedNode{Pointer(countedPlatform)};
    EXPECT_EQ(RuntimeFailure([&] { countedNode.GetAttributes(); }), "Failed to get item!");
}

// A list that knows its length, and no more.
class CountedList final : public failing::NodeList {
public:
    STDMETHODIMP get_length(long* length) override {
        *length = 1;
        return S_OK;
    }
};

class NodeWithLists final : public failing::Node {
public:
    explicit NodeWithLists(IXMLDOMNodeList& list) : list_(list) {}
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** list) override {
        *list = &list_;
        return S_OK;
    }
    STDMETHODIMP selectNodes(BSTR, IXMLDOMNodeList** list) override { return get_childNodes(list); }

private:
    IXMLDOMNodeList& list_;
};

TEST(DomFailures, OfNodeLists) {
    failing::NodeList list;
    CountedList counted;
    for (IXMLDOMNodeList* const failing :
         {static_cast<IXMLDOMNodeList*>(&list), static_cast<IXMLDOMNodeList*>(&counted)}) {
        NodeWithLists platform(*failing);
        const DomNodeImplementation node{Pointer(platform)};
        EXPECT_EQ(RuntimeFailure([&] { node.GetChildNodes(); }), "Failed to get child nodes!");
        EXPECT_EQ(RuntimeFailure([&] { node.GetChildNodes(L"a"); }), "Failed to get child nodes!");
    }
}

class NodeWithoutType final : public failing::NodeObject<IXMLDOMNode> {};

TEST(DomFailures, OfNodesWithoutATypeAreThoseOfCom) {
    NodeWithoutType platform;
    EXPECT_EQ(ComFailureOf([&] { Wrap(Pointer(platform)); }), E_FAIL);
}

// A parent from which nothing can be removed, with a child of any name or with none.
class StubbornNode final : public failing::Node {
public:
    explicit StubbornNode(IXMLDOMNode* child) : child_(child) {}
    STDMETHODIMP get_nodeName(BSTR* name) override {
        *name = SysAllocString(L"name");
        return S_OK;
    }
    STDMETHODIMP selectSingleNode(BSTR, IXMLDOMNode** node) override {
        *node = child_;
        return child_ == nullptr ? S_FALSE : S_OK;
    }

private:
    IXMLDOMNode* const child_;
};

TEST(DomFailures, OfRemoval) {
    StubbornNode childPlatform(nullptr);
    const auto child = Wrap(Pointer(childPlatform));
    StubbornNode with(&childPlatform);
    EXPECT_EQ(RuntimeFailure([&] { Wrap(Pointer(with))->RemoveChildNode(child); }),
              "Failed to remove child node!");
    StubbornNode without(nullptr);
    EXPECT_EQ(ThrownText<std::logic_error>([&] { Wrap(Pointer(without))->RemoveChildNode(child); }),
              "Child node not available!");
}

// An element with the answer of a derived class for its attributes.
class ElementOnly : public failing::Element {
public:
    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = static_cast<IXMLDOMElement*>(this);
        return S_OK;
    }
};

TEST(DomFailures, OfElements) {
    ElementOnly platform;
    DomElementImplementation element{Pointer(platform)};
    EXPECT_EQ(RuntimeFailure([&] { element.HasAttribute(L"a"); }), "Failed to get attribute!");
    EXPECT_EQ(RuntimeFailure([&] { element.GetAttribute(L"a"); }), "Failed to get attribute!");
    EXPECT_EQ(RuntimeFailure([&] { element.SetAttribute(L"a", L""); }), "Failed to set attribute!");
}

TEST(DomFailures, OfElementsThatThePlatformDoesNotKnowAreThoseOfCom) {
    failing::Node platform(NODE_ELEMENT);
    DomElementImplementation element{Pointer(platform)};
    EXPECT_EQ(ComFailureOf([&] { element.HasAttribute(L"a"); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { element.GetAttribute(L"a"); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { element.SetAttribute(L"a", L""); }), E_POINTER);
}

class ElementWithNumber final : public ElementOnly {
public:
    STDMETHODIMP getAttribute(BSTR, VARIANT* value) override {
        V_VT(value) = VT_I4;
        V_I4(value) = 17;
        return S_OK;
    }
};

TEST(DomFailures, OfAttributesThatAreNoTexts) {
    ElementWithNumber platform;
    const DomElementImplementation element{Pointer(platform)};
    EXPECT_TRUE(element.HasAttribute(L"a"));
    EXPECT_EQ(RuntimeFailure([&] { element.GetAttribute(L"a"); }), "Attribute is not a string!");
}

TEST(DomFailures, OfDocuments) {
    failing::Document platform;
    DomDocumentImplementation document{DocumentPointer(static_cast<IXMLDOMDocument*>(&platform))};
    EXPECT_EQ(RuntimeFailure([&] { document.GetNamespaceURI(); }),
              "Failed to get default namespace!");
    EXPECT_EQ(RuntimeFailure([&] { document.HasDocumentElement(); }), "Failed to get child node!");
    EXPECT_EQ(RuntimeFailure([&] { document.GetDocumentElement(); }), "Failed to get child node!");
    EXPECT_EQ(RuntimeFailure([&] { document.CreateElement(L"a", L""); }),
              "Failed to create DOM element!");
    EXPECT_EQ(RuntimeFailure([&] { document.CreateTextNode(L""); }),
              "Failed to create DOM text node!");
    EXPECT_EQ(RuntimeFailure([&] { document.SaveText(); }), "Failed to save XML stream!");
    EXPECT_EQ(RuntimeFailure([&] { document.SaveFile(L"C:\\no such folder\\a.xml"); }),
              "Failed to save XML file!");
    // The platform does not even tell why.
    EXPECT_EQ(ComFailureOf([&] { document.LoadText(L"<a/>"); }), E_FAIL);
    EXPECT_EQ(ComFailureOf([&] { document.LoadFile(L"a.xml"); }), E_FAIL);
}

TEST(DomFailures, OfNullDocumentsAreThoseOfCom) {
    DomDocumentImplementation document{DocumentPointer()};
    EXPECT_EQ(ComFailureOf([&] { document.LoadText(L"<a/>"); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { document.SaveText(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { document.GetNamespaceURI(); }), E_POINTER);
    EXPECT_EQ(ComFailureOf([&] { document.GetOwnerDocument(); }), E_POINTER);
}

} // namespace
