// The rows of the table of look-ups. Each function measures and prints its own.
#pragma once

namespace bench {

/// Values by their types.
void TypeKeyed();

/// Values by names, from a container that threads share.
void Named();

} // namespace bench
