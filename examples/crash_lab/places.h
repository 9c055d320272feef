// Where it can go wrong.
#pragma once

#include <string>
#include <vector>

namespace crash_lab {

struct Place {
    std::wstring name;
    std::wstring description;
    /// Calls the function there and waits for it. Throws what it throws.
    void (*run)(void (*function)());
};

const std::vector<Place>& AllPlaces();

} // namespace crash_lab
