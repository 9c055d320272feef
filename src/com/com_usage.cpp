#include <windows.h>

#include <kq/com/com_usage.h>

#include "com/initialization.h"

#include <objbase.h>

namespace kq::com {

ComUsage::ComUsage(unsigned long coInit) noexcept
    : mustUninitialize_(OwesUninitialize(CoInitializeEx(nullptr, coInit))) {}

ComUsage::~ComUsage() {
    if (mustUninitialize_)
        CoUninitialize();
}

} // namespace kq::com
