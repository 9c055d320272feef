// What the results of CoInitializeEx oblige to.
#pragma once

#include <windows.h>

namespace kq::com {

/// Whether `CoUninitialize` has to follow this result of `CoInitializeEx`. Only a thread that keeps
/// its apartment of the other kind owes nothing; a failure of another kind deliberately counts as a
/// success.
constexpr bool OwesUninitialize(HRESULT result) noexcept { return result != RPC_E_CHANGED_MODE; }

} // namespace kq::com
