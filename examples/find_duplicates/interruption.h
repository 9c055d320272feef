// Ctrl-C as a request that the program answers at its own pace.
#pragma once

#include <kq/progress/progress_signaler.h>

#include <memory>

namespace find_duplicates {

/// While it lives, Ctrl-C (or Ctrl-Break) cancels the work instead of ending the process, as long
/// as the work can be cancelled; so a second one ends it as usual. One at a time.
class InterruptionWatch {
public:
    explicit InterruptionWatch(std::shared_ptr<kq::progress::IProgressSignaler> work);
    ~InterruptionWatch();
    InterruptionWatch(const InterruptionWatch&) = delete;
    InterruptionWatch& operator=(const InterruptionWatch&) = delete;
};

} // namespace find_duplicates
