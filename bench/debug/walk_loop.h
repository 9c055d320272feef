// The peer: a plain loop over StackWalk64.
#pragma once

#include <kq/debug/call_stack.h>

#include <vector>

namespace bench {

/// How the memory of the stack is read.
enum class MemoryReader {
    /// Debug-help's own, which reads this process as it would any other.
    Default,
    /// Copies what lies on the stack or in a module, and asks the system for the rest.
    Copying
};

/// The stack of the calling thread, each frame with its symbol, module and line looked up. Needs an
/// open symbol state that knows every module.
std::vector<kq::debug::CallStackEntry> WalkLoop(MemoryReader reader);

} // namespace bench
