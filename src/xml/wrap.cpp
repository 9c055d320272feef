#include "xml/wrap.h"

#include "xml/implementations.h"

#include <boost/make_shared.hpp>

namespace kq::xml {

shared_ref<DomNode, boost::shared_ptr> Wrap(const NodePointer& node) {
    using Result = boost::shared_ptr<DomNode>;
    DOMNodeType type = NODE_INVALID;
    _com_util::CheckError(node->get_nodeType(&type));
    switch (type) {
        case NODE_ELEMENT:
            return Result(boost::make_shared<DomElementImplementation>(node));
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            return Result(boost::make_shared<DomTextNodeImplementation>(node));
        case NODE_DOCUMENT:
            return WrapDocument(DocumentPointer(node));
        default:
            return Result(boost::make_shared<DomNodeImplementation>(node));
    }
}

shared_ref<DomDocument, boost::shared_ptr> WrapDocument(const DocumentPointer& document) {
    if (!document)
        _com_issue_error(E_POINTER);
    return boost::shared_ptr<DomDocument>(boost::make_shared<DomDocumentImplementation>(document));
}

} // namespace kq::xml
