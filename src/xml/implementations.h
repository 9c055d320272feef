// The implementations of the four interfaces.
#pragma once

#include "xml/document_helper.h"
#include "xml/element_helper.h"
#include "xml/text_node_helper.h"

namespace kq::xml {

class DomNodeImplementation final : public DomNodeHelper<DomNode> {
public:
    using DomNodeHelper::DomNodeHelper;
};

class DomElementImplementation final : public DomElementHelper<DomElement> {
public:
    using DomElementHelper::DomElementHelper;
};

class DomTextNodeImplementation final : public DomTextNodeHelper<DomTextNode> {
public:
    using DomTextNodeHelper::DomTextNodeHelper;
};

class DomDocumentImplementation final : public DomDocumentHelper<DomDocument> {
public:
    using DomDocumentHelper::DomDocumentHelper;
};

} // namespace kq::xml
