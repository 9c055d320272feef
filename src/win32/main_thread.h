// The record of the main thread.
#pragma once

namespace kq::win32 {

/// Makes the calling thread the main thread, unless there is one already. Called when the library
/// is loaded.
void RecordMainThread() noexcept;

} // namespace kq::win32
