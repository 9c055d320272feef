// Ctrl-C as a request that the program answers at its own pace.
#pragma once

namespace find_duplicates {

/// The user pressed Ctrl-C.
struct Interruption {};

/// While it lives, the first Ctrl-C (or Ctrl-Break) is recorded instead of ending the process; a
/// second one ends it as usual. One at a time.
class InterruptionWatch {
public:
    InterruptionWatch();
    ~InterruptionWatch();
    InterruptionWatch(const InterruptionWatch&) = delete;
    InterruptionWatch& operator=(const InterruptionWatch&) = delete;
};

/// Throws `Interruption` once Ctrl-C was pressed.
void ThrowIfInterrupted();

} // namespace find_duplicates
