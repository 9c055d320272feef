// What can go wrong.
#pragma once

#include <string>
#include <vector>

namespace crash_lab {

struct Failure {
    std::wstring name;
    std::wstring description;
    /// Fails. Returns only when nothing went wrong.
    void (*fail)();
};

const std::vector<Failure>& AllFailures();

/// What a library throws that this program knows nothing of.
struct ForeignError {
    int number;
};

} // namespace crash_lab
