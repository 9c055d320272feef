// What is measured of XML documents.
#pragma once

#include <cstddef>

namespace bench {

/// Load, select, edit and save a document of `size` bytes, through the library and through the
/// platform's interfaces.
void Documents(const char* name, std::size_t size);

} // namespace bench
