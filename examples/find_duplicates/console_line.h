// What the user sees while the program is at work.
#pragma once

#include "console.h"

#include <kq/progress/progress_signaler.h>

#include <memory>

namespace find_duplicates {

/// Observes the work (see `Work` for what it shows): on a terminal in one line that is written over
/// and over and wiped off in the end, else as a plain line at the beginning of a step, every few
/// seconds, and when the work is suspended or resumed.
class ConsoleLine {
public:
    ConsoleLine(const std::shared_ptr<kq::progress::IProgressSignaler>& work,
                const Console& console);

private:
    std::shared_ptr<void> connection_;
};

} // namespace find_duplicates
