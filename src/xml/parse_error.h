// Why a document could not be loaded.
#pragma once

#include "xml/platform.h"

namespace kq::xml {

/// Throws `std::runtime_error` with `failure` and what the last load of `document` has run into:
/// "<failure>: <reason> in line <line> at character <column>". A reason that the platform does not
/// give is empty. Throws `_com_error` when the platform does not tell at all.
[[noreturn]] void ThrowParseError(const DocumentPointer& document, const char* failure);

} // namespace kq::xml
