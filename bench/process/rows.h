// The rows of the table of whole processes. Each function measures and prints its own.
#pragma once

namespace bench {

/// Loading the library, and shutting it down.
void Life();

} // namespace bench
