// The COM component of the tests, which only a manifest registers.
#pragma once

#include <guiddef.h>

/// The class; it implements IPersist. Also in component.manifest.
constexpr CLSID componentClass = {
    0x6f1c7d0e, 0x52a4, 0x4d0c, {0x9b, 0x3e, 0x8a, 0x7d, 0x3f, 0x1b, 0x2c, 0x45}};
