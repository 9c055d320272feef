// Call stacks of known places.
#pragma once

#include <kq/debug/symbol_handler.h>

#include "support/caller_library.h"
#include "support/stack_entries.h"

#include <cstddef>

namespace kq_test {

/// Whatever is done after a call keeps it from becoming a jump.
inline volatile int sink = 0;

/// The stack from here on.
[[gnu::noinline]] inline Stack Capture() {
    Stack stack = kq::debug::symbolHandler->GetCallStack();
    sink = sink + 1;
    return stack;
}

Stack Pong(std::size_t depth);

/// `Capture` below `depth` frames, of this function and `Pong` in turn, this one outermost.
[[gnu::noinline]] inline Stack Ping(std::size_t depth) {
    Stack stack = depth <= 1 ? Capture() : Pong(depth - 1);
    sink = sink + 1;
    return stack;
}

/// As `Ping`, the other way round.
[[gnu::noinline]] inline Stack Pong(std::size_t depth) {
    Stack stack = depth <= 1 ? Capture() : Ping(depth - 1);
    sink = sink + 2;
    return stack;
}

/// `Capture` below a frame of `library`.
inline Stack CaptureIn(const CallerLibrary& library) {
    Stack stack;
    library.Call([&] { stack = Capture(); });
    return stack;
}

} // namespace kq_test
