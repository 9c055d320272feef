// The platform's XML DOM as it is without this library: what tests ask whether a limit of theirs is
// one of the platform's.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <msxml2.h>

#include <string>

namespace raw_dom {

using NodePointer = _com_ptr_t<_com_IIID<IXMLDOMNode, &IID_IXMLDOMNode>>;
using DocumentPointer = _com_ptr_t<_com_IIID<IXMLDOMDocument, &IID_IXMLDOMDocument>>;
using ElementPointer = _com_ptr_t<_com_IIID<IXMLDOMElement, &IID_IXMLDOMElement>>;

/// A new document of MSXML 6.0 with the options that the library sets.
inline DocumentPointer CreateDocument() {
    constexpr CLSID domDocument60 = {
        0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
    DocumentPointer document(domDocument60);
    document->put_async(VARIANT_FALSE);
    document->put_preserveWhiteSpace(VARIANT_TRUE);
    return document;
}

/// Whether the platform takes `text` for a document.
inline bool Load(const DocumentPointer& document, const std::wstring& text) {
    VARIANT_BOOL loaded = VARIANT_FALSE;
    return SUCCEEDED(document->loadXML(_bstr_t(text.c_str()), &loaded)) && loaded != VARIANT_FALSE;
}
inline bool Loads(const std::wstring& text) { return Load(CreateDocument(), text); }

/// The first node of `document` that the XPath expression selects.
inline NodePointer Select(const DocumentPointer& document, const wchar_t* xpath) {
    NodePointer node;
    document->selectSingleNode(_bstr_t(xpath), &node);
    return node;
}

/// Whether the platform takes a child of a text, which has no place for any.
inline bool TakesChildOfText() {
    const DocumentPointer document = CreateDocument();
    Load(document, L"<a>text<b/></a>");
    NodePointer added;
    return SUCCEEDED(
        Select(document, L"/a/text()")->appendChild(Select(document, L"/a/b"), &added));
}

/// Whether the platform writes xmlns="" for an element without a namespace in one that has a
/// default namespace.
inline bool SavesEmptyDefaultNamespace() {
    const DocumentPointer document = CreateDocument();
    Load(document, L"<a xmlns='urn:a'/>");
    NodePointer plain;
    document->createNode(_variant_t(1), _bstr_t(L"plain"), _bstr_t(L""), &plain);
    NodePointer added;
    Select(document, L"/*")->appendChild(plain, &added);
    _bstr_t text;
    document->get_xml(text.GetAddress());
    const DocumentPointer again = CreateDocument();
    return Load(again, static_cast<const wchar_t*>(text)) &&
           static_cast<bool>(Select(again, L"//plain"));
}

} // namespace raw_dom
