#include "xml/wrap.h"

#include "thread/recycling.h"
#include "xml/implementations.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace kq::xml {
namespace {

template <class Interface, class Implementation, class Pointer>
shared_ref<Interface, boost::shared_ptr> Make(Pointer&& node) {
    return boost::shared_ptr<Interface>(boost::allocate_shared<Implementation>(
        thread::RecyclingAllocator<Implementation>(), std::forward<Pointer>(node)));
}

} // namespace

shared_ref<DomNode, boost::shared_ptr> Wrap(NodePointer&& node) {
    DOMNodeType type = NODE_INVALID;
    _com_util::CheckError(node->get_nodeType(&type));
    switch (type) {
        case NODE_ELEMENT:
            return Make<DomNode, DomElementImplementation>(std::move(node));
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            return Make<DomNode, DomTextNodeImplementation>(std::move(node));
        case NODE_DOCUMENT:
            return WrapDocument(DocumentPointer(node));
        default:
            return Make<DomNode, DomNodeImplementation>(std::move(node));
    }
}

shared_ref<DomElement, boost::shared_ptr> WrapElement(NodePointer&& element) {
    return Make<DomElement, DomElementImplementation>(std::move(element));
}

shared_ref<DomTextNode, boost::shared_ptr> WrapText(NodePointer&& text) {
    return Make<DomTextNode, DomTextNodeImplementation>(std::move(text));
}

shared_ref<DomDocument, boost::shared_ptr> WrapDocument(DocumentPointer&& document) {
    if (!document)
        _com_issue_error(E_POINTER);
    return Make<DomDocument, DomDocumentImplementation>(std::move(document));
}

} // namespace kq::xml
