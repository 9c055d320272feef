// Two steps of which neither may be left out.
#pragma once

namespace kq::progress {

/// Runs one after the other, the second also when the first throws. What the first throws leaves,
/// unless the second throws too.
template <class First, class Second>
void Both(First first, Second second) {
    try {
        first();
    } catch (...) {
        second();
        throw;
    }
    second();
}

} // namespace kq::progress
