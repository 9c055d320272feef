// The operations of texts.
#pragma once

#include "xml/node_helper.h"

namespace kq::xml {

/// Texts have none but those of all nodes.
template <class Interface>
class DomTextNodeHelper : public DomNodeHelper<Interface> {
public:
    using DomNodeHelper<Interface>::DomNodeHelper;

protected:
    ~DomTextNodeHelper() = default;
};

} // namespace kq::xml
