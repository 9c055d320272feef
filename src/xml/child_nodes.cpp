#include <kq/xml/dom.h>

namespace kq::xml {
namespace {

constexpr const wchar_t* anyText = L"./text()";

} // namespace

shared_ref<DomElement, boost::shared_ptr> AddChildElement(DomNode& parent, const std::wstring& name,
                                                          const std::wstring& namespaceURI) {
    const auto element = parent.GetOwnerDocument()->CreateElement(name, namespaceURI);
    return dynamic_reference_cast<DomElement>(parent.AddChildNode(element));
}

shared_ref<DomElement, boost::shared_ptr> AddChildElement(DomNode& parent,
                                                          const std::wstring& name) {
    return AddChildElement(parent, name, parent.GetNamespaceURI());
}

shared_ref<DomTextNode, boost::shared_ptr> AddChildTextNode(DomNode& parent,
                                                            const std::wstring& namespaceURI) {
    const auto text = parent.GetOwnerDocument()->CreateTextNode(namespaceURI);
    return dynamic_reference_cast<DomTextNode>(parent.AddChildNode(text));
}

shared_ref<DomTextNode, boost::shared_ptr> AddChildTextNode(DomNode& parent) {
    return AddChildTextNode(parent, parent.GetNamespaceURI());
}

std::wstring GetChildTextNodeValue(const DomNode& node) {
    return node.GetChildNode(anyText)->GetValue();
}

bool HasChildTextNode(const DomNode& node) { return node.HasChildNode(anyText); }

} // namespace kq::xml
