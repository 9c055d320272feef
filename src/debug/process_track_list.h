// The tracker of the process comes and goes with the library.
#pragma once

namespace kq::debug {

/// Makes `g_trackList`. Called once, before anybody can use it. Throws `std::bad_alloc`.
void ConstructTrackList();

/// Ends it, when the library is unloaded from a process that goes on.
void DestroyTrackList() noexcept;

} // namespace kq::debug
