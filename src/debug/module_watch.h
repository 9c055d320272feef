// Hears from the loader about modules.
#pragma once

#include "debug/touched_modules.h"

namespace kq::debug {

/// Notes every module that the process loads or unloads during its life.
class ModuleWatch {
public:
    /// Throws `std::runtime_error("Failed to initialize symbol handler!")`.
    ModuleWatch();
    ~ModuleWatch();
    ModuleWatch(const ModuleWatch&) = delete;
    ModuleWatch& operator=(const ModuleWatch&) = delete;

    TouchedModules& Touched() noexcept { return touched_; }

private:
    TouchedModules touched_;
    void* registration_ = nullptr;
};

} // namespace kq::debug
