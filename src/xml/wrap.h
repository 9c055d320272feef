// Nodes of the platform as nodes of this library.
#pragma once

#include <kq/xml/dom.h>

#include "xml/platform.h"

namespace kq::xml {

/// A new object for `node`: a `DomElement`, `DomTextNode` (also for a CDATA section) or
/// `DomDocument` by the type of the node, and a plain `DomNode` for every other one. Throws
/// `_com_error`, with E_POINTER for a null pointer.
shared_ref<DomNode, boost::shared_ptr> Wrap(NodePointer&& node);

/// New objects for nodes whose type is known. The pointers must not be null.
shared_ref<DomElement, boost::shared_ptr> WrapElement(NodePointer&& element);
shared_ref<DomTextNode, boost::shared_ptr> WrapText(NodePointer&& text);

/// A new object for `document`. Throws `_com_error(E_POINTER)` for a null pointer.
shared_ref<DomDocument, boost::shared_ptr> WrapDocument(DocumentPointer&& document);

} // namespace kq::xml
