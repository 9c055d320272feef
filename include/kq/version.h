// The version of the library.
#pragma once

#include <kq/export.h>

/// The version of these headers: changes with the binary interface.
#define KQ_VERSION_MAJOR 0
/// Grows with additions.
#define KQ_VERSION_MINOR 1
/// Grows with corrections.
#define KQ_VERSION_PATCH 0

namespace kq {

/// A version of the library, as text and as the three numbers of semantic versioning.
struct VersionInfo {
    const char* text;   ///< "major.minor.patch"; static storage
    unsigned int major; ///< changes with the binary interface
    unsigned int minor; ///< grows with additions
    unsigned int patch; ///< grows with corrections
};

/// Returns the version of the loaded library, which may differ from that of the headers
/// (`KQ_VERSION_MAJOR`, `KQ_VERSION_MINOR`, `KQ_VERSION_PATCH`) that the host was compiled with.
/// Callable from any thread at any time.
KQ_API VersionInfo Version() noexcept;

} // namespace kq
