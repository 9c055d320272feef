// Objects of the platform's XML DOM in which everything fails. A test overrides what it lets
// succeed.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <msxml2.h>

namespace failing {

/// IUnknown and IDispatch; the object stands wherever the test puts it, and is not counted.
template <class Interface>
class Object : public Interface {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_FAIL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_FAIL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_FAIL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        return E_FAIL;
    }

protected:
    ~Object() = default;
};

/// `Interface` is IXMLDOMNode or derives from it.
template <class Interface>
class NodeObject : public Object<Interface> {
public:
    STDMETHODIMP get_nodeName(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_nodeValue(VARIANT*) override { return E_FAIL; }
    STDMETHODIMP put_nodeValue(VARIANT) override { return E_FAIL; }
    STDMETHODIMP get_nodeType(DOMNodeType*) override { return E_FAIL; }
    STDMETHODIMP get_parentNode(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList**) override { return E_FAIL; }
    STDMETHODIMP get_firstChild(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_lastChild(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_previousSibling(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_nextSibling(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap**) override { return E_FAIL; }
    STDMETHODIMP insertBefore(IXMLDOMNode*, VARIANT, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP removeChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP hasChildNodes(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP get_ownerDocument(IXMLDOMDocument**) override { return E_FAIL; }
    STDMETHODIMP cloneNode(VARIANT_BOOL, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_nodeTypeString(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_text(BSTR*) override { return E_FAIL; }
    STDMETHODIMP put_text(BSTR) override { return E_FAIL; }
    STDMETHODIMP get_specified(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP get_definition(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_nodeTypedValue(VARIANT*) override { return E_FAIL; }
    STDMETHODIMP put_nodeTypedValue(VARIANT) override { return E_FAIL; }
    STDMETHODIMP get_dataType(VARIANT*) override { return E_FAIL; }
    STDMETHODIMP put_dataType(BSTR) override { return E_FAIL; }
    STDMETHODIMP get_xml(BSTR*) override { return E_FAIL; }
    STDMETHODIMP transformNode(IXMLDOMNode*, BSTR*) override { return E_FAIL; }
    STDMETHODIMP selectNodes(BSTR, IXMLDOMNodeList**) override { return E_FAIL; }
    STDMETHODIMP selectSingleNode(BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_parsed(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP get_namespaceURI(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_prefix(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_baseName(BSTR*) override { return E_FAIL; }
    STDMETHODIMP transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_FAIL; }

protected:
    ~NodeObject() = default;
};

/// Nodes have a type, without which they could not be wrapped.
class Node : public NodeObject<IXMLDOMNode> {
public:
    explicit Node(DOMNodeType type = NODE_COMMENT) : type_(type) {}
    STDMETHODIMP get_nodeType(DOMNodeType* type) override {
        *type = type_;
        return S_OK;
    }

private:
    const DOMNodeType type_;
};

class Element : public NodeObject<IXMLDOMElement> {
public:
    STDMETHODIMP get_tagName(BSTR*) override { return E_FAIL; }
    STDMETHODIMP getAttribute(BSTR, VARIANT*) override { return E_FAIL; }
    STDMETHODIMP setAttribute(BSTR, VARIANT) override { return E_FAIL; }
    STDMETHODIMP removeAttribute(BSTR) override { return E_FAIL; }
    STDMETHODIMP getAttributeNode(BSTR, IXMLDOMAttribute**) override { return E_FAIL; }
    STDMETHODIMP setAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override { return E_FAIL; }
    STDMETHODIMP removeAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override {
        return E_FAIL;
    }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_FAIL; }
    STDMETHODIMP normalize() override { return E_FAIL; }
};

class Document : public NodeObject<IXMLDOMDocument2> {
public:
    STDMETHODIMP get_doctype(IXMLDOMDocumentType**) override { return E_FAIL; }
    STDMETHODIMP get_implementation(IXMLDOMImplementation**) override { return E_FAIL; }
    STDMETHODIMP get_documentElement(IXMLDOMElement**) override { return E_FAIL; }
    STDMETHODIMP putref_documentElement(IXMLDOMElement*) override { return E_FAIL; }
    STDMETHODIMP createElement(BSTR, IXMLDOMElement**) override { return E_FAIL; }
    STDMETHODIMP createDocumentFragment(IXMLDOMDocumentFragment**) override { return E_FAIL; }
    STDMETHODIMP createTextNode(BSTR, IXMLDOMText**) override { return E_FAIL; }
    STDMETHODIMP createComment(BSTR, IXMLDOMComment**) override { return E_FAIL; }
    STDMETHODIMP createCDATASection(BSTR, IXMLDOMCDATASection**) override { return E_FAIL; }
    STDMETHODIMP createProcessingInstruction(BSTR, BSTR, IXMLDOMProcessingInstruction**) override {
        return E_FAIL;
    }
    STDMETHODIMP createAttribute(BSTR, IXMLDOMAttribute**) override { return E_FAIL; }
    STDMETHODIMP createEntityReference(BSTR, IXMLDOMEntityReference**) override { return E_FAIL; }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_FAIL; }
    STDMETHODIMP createNode(VARIANT, BSTR, BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP nodeFromID(BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP load(VARIANT, VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP get_readyState(long*) override { return E_FAIL; }
    STDMETHODIMP get_parseError(IXMLDOMParseError**) override { return E_FAIL; }
    STDMETHODIMP get_url(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_async(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP put_async(VARIANT_BOOL) override { return E_FAIL; }
    STDMETHODIMP abort() override { return E_FAIL; }
    STDMETHODIMP loadXML(BSTR, VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP save(VARIANT) override { return E_FAIL; }
    STDMETHODIMP get_validateOnParse(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL) override { return E_FAIL; }
    STDMETHODIMP get_resolveExternals(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL) override { return E_FAIL; }
    STDMETHODIMP get_preserveWhiteSpace(VARIANT_BOOL*) override { return E_FAIL; }
    STDMETHODIMP put_preserveWhiteSpace(VARIANT_BOOL) override { return E_FAIL; }
    STDMETHODIMP put_onreadystatechange(VARIANT) override { return E_FAIL; }
    STDMETHODIMP put_ondataavailable(VARIANT) override { return E_FAIL; }
    STDMETHODIMP put_ontransformnode(VARIANT) override { return E_FAIL; }
    STDMETHODIMP get_namespaces(IXMLDOMSchemaCollection**) override { return E_FAIL; }
    STDMETHODIMP get_schemas(VARIANT*) override { return E_FAIL; }
    STDMETHODIMP putref_schemas(VARIANT) override { return E_FAIL; }
    STDMETHODIMP validate(IXMLDOMParseError**) override { return E_FAIL; }
    STDMETHODIMP setProperty(BSTR, VARIANT) override { return E_FAIL; }
    STDMETHODIMP getProperty(BSTR, VARIANT*) override { return E_FAIL; }
};

class NodeList : public Object<IXMLDOMNodeList> {
public:
    STDMETHODIMP get_item(long, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_length(long*) override { return E_FAIL; }
    STDMETHODIMP nextNode(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP reset() override { return E_FAIL; }
    STDMETHODIMP get__newEnum(IUnknown**) override { return E_FAIL; }
};

class AttributeMap : public Object<IXMLDOMNamedNodeMap> {
public:
    STDMETHODIMP getNamedItem(BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP setNamedItem(IXMLDOMNode*, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP removeNamedItem(BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_item(long, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP get_length(long*) override { return E_FAIL; }
    STDMETHODIMP getQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP removeQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP nextNode(IXMLDOMNode**) override { return E_FAIL; }
    STDMETHODIMP reset() override { return E_FAIL; }
    STDMETHODIMP get__newEnum(IUnknown**) override { return E_FAIL; }
};

class ParseError : public Object<IXMLDOMParseError> {
public:
    STDMETHODIMP get_errorCode(long*) override { return E_FAIL; }
    STDMETHODIMP get_url(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_reason(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_srcText(BSTR*) override { return E_FAIL; }
    STDMETHODIMP get_line(long*) override { return E_FAIL; }
    STDMETHODIMP get_linepos(long*) override { return E_FAIL; }
    STDMETHODIMP get_filepos(long*) override { return E_FAIL; }
};

} // namespace failing
