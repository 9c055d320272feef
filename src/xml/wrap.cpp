#include "xml/wrap.h"

#include "xml/implementations.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace kq::xml {

shared_ref<DomNode, boost::shared_ptr> Wrap(NodePointer&& node) {
    using Result = boost::shared_ptr<DomNode>;
    DOMNodeType type = NODE_INVALID;
    _com_util::CheckError(node->get_nodeType(&type));
    switch (type) {
        case NODE_ELEMENT:
            return Result(boost::make_shared<DomElementImplementation>(std::move(node)));
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            return Result(boost::make_shared<DomTextNodeImplementation>(std::move(node)));
        case NODE_DOCUMENT:
            return WrapDocument(DocumentPointer(node));
        default:
            return Result(boost::make_shared<DomNodeImplementation>(std::move(node)));
    }
}

shared_ref<DomDocument, boost::shared_ptr> WrapDocument(DocumentPointer&& document) {
    if (!document)
        _com_issue_error(E_POINTER);
    return boost::shared_ptr<DomDocument>(
        boost::make_shared<DomDocumentImplementation>(std::move(document)));
}

} // namespace kq::xml
