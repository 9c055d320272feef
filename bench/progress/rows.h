// The rows of the table for signalers and progress. Each function measures and prints its own.
#pragma once

namespace bench {

/// Emitting a number to 1 and 8 sinks.
void Emissions();

/// Connecting a sink and disconnecting it again, alone and beside many others.
void Connections();

/// Adding to a root, with and without publications.
void Adding();

} // namespace bench
