// The platform's node behind a node.
#pragma once

#include <kq/xml/dom.h>

#include "xml/platform.h"

namespace kq::xml {

/// Reaches the platform's node of a node that a host hands in.
class DomNodeAccess {
public:
    /// The platform's node, owned by `node`; null when the platform gave none. Throws
    /// `std::bad_cast` when `node` is somebody else's implementation.
    static IXMLDOMNode* PlatformNode(const DomNode& node);
};

} // namespace kq::xml
