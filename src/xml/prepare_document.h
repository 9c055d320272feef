// Documents as they are when nothing has been loaded yet.
#pragma once

#include <kq/xml/dom.h>

#include "xml/platform.h"

namespace kq::xml {

/// Sets the options of a new document, gives it its declaration, and returns an object for it.
/// Throws `_com_error`, and `std::runtime_error` with the texts "Failed to create encoding
/// information!" and "Failed to add child node!".
shared_ref<DomDocument, boost::shared_ptr> PrepareDocument(const DocumentPointer& document);

} // namespace kq::xml
