// The pump without its care for quit messages.
#pragma once

#include <kq/win32/types.h>

#include <optional>

namespace kq::win32 {

/// As `PumpMessageQueue(window)`, but a quit message that comes by is taken: returns its exit code,
/// for the caller to post again.
std::optional<int> DispatchMessages(HWND__* window);

} // namespace kq::win32
