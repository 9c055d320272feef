// The platform's XML DOM, through its own smart pointers.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <msxml2.h>

namespace kq::xml {

/// The class MSXML 6.0 DOMDocument60.
constexpr CLSID domDocument60 = {
    0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};

/// IXMLDOMDocument2, which not every toolchain's libraries define.
constexpr IID interfaceOfDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

template <class Interface, const IID& id>
using Pointer = _com_ptr_t<_com_IIID<Interface, &id>>;

using AttributeMapPointer = Pointer<IXMLDOMNamedNodeMap, IID_IXMLDOMNamedNodeMap>;
using DocumentPointer = Pointer<IXMLDOMDocument, IID_IXMLDOMDocument>;
using Document2Pointer = Pointer<IXMLDOMDocument2, interfaceOfDocument2>;
using ElementPointer = Pointer<IXMLDOMElement, IID_IXMLDOMElement>;
using InstructionPointer = Pointer<IXMLDOMProcessingInstruction, IID_IXMLDOMProcessingInstruction>;
using NodeListPointer = Pointer<IXMLDOMNodeList, IID_IXMLDOMNodeList>;
using NodePointer = Pointer<IXMLDOMNode, IID_IXMLDOMNode>;
using ParseErrorPointer = Pointer<IXMLDOMParseError, IID_IXMLDOMParseError>;
using StreamPointer = Pointer<IStream, IID_IStream>;

} // namespace kq::xml
