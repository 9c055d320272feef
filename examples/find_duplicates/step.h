// One step of the work after the other.
#pragma once

#include "tally.h"
#include "work.h"

#include <cstdint>

namespace find_duplicates {

/// Says how far a step has come in which so many bytes of so many files are read. For the thread of
/// the root.
class Step {
public:
    /// Announces the step.
    Step(Work& work, const wchar_t* title, std::uint64_t files, std::uint64_t bytes);

    /// To be called several times a second: so much has been done.
    void Report(const Tally& done);

private:
    /// How long the work has run, without the time for which it was suspended.
    double Elapsed() const { return work_.Signaler()->GetState().elapsed; }

    Work& work_;
    const double effort_;
    double begin_ = 0;
};

} // namespace find_duplicates
