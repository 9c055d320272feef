// The platform's node behind a node.
#pragma once

#include <kq/xml/dom.h>

#include "xml/platform.h"

namespace kq::xml {

/// What every implementation of a node is beside its interface.
class PlatformNodeHolder {
public:
    /// The platform's node, owned by this object; null when the platform gave none.
    virtual IXMLDOMNode* PlatformNode() const noexcept = 0;

    PlatformNodeHolder(const PlatformNodeHolder&) = delete;
    PlatformNodeHolder& operator=(const PlatformNodeHolder&) = delete;

protected:
    PlatformNodeHolder() = default;
    ~PlatformNodeHolder() = default;
};

/// Reaches the platform's node of a node that a host hands in.
class DomNodeAccess {
public:
    /// Throws `std::bad_cast` when `node` is somebody else's implementation.
    static IXMLDOMNode* PlatformNode(const DomNode& node) {
        return dynamic_cast<const PlatformNodeHolder&>(node).PlatformNode();
    }
};

} // namespace kq::xml
