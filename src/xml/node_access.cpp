#include "xml/node_access.h"

#include "xml/implementations.h"

#include <typeinfo>

namespace kq::xml {
namespace {

/// Sets `result` when `node` is an `Implementation`, and returns whether it is. The classes are
/// final, so that the exact type tells; a dynamic cast would take longer than what the platform
/// then does with the node.
template <class Implementation>
bool Take(const DomNode& node, IXMLDOMNode*& result) {
    if (typeid(node) != typeid(Implementation))
        return false;
    result = static_cast<const Implementation&>(node).PlatformNode();
    return true;
}

} // namespace

IXMLDOMNode* DomNodeAccess::PlatformNode(const DomNode& node) {
    IXMLDOMNode* result = nullptr;
    if (Take<DomElementImplementation>(node, result) ||
        Take<DomTextNodeImplementation>(node, result) ||
        Take<DomNodeImplementation>(node, result) || Take<DomDocumentImplementation>(node, result))
        return result;
    throw std::bad_cast();
}

} // namespace kq::xml
