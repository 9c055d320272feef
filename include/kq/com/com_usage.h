// COM for a scope.
#pragma once

#include <kq/export.h>

namespace kq {
namespace com {

/// Keeps COM initialised on the current thread as long as it lives (`CoInitializeEx`,
/// `CoUninitialize`). Objects may be nested. It has to be destroyed on the thread that created it,
/// and after every COM object that the thread uses.
///
/// A thread that is already in an apartment of the other kind stays in it, and nothing is undone
/// later. Every other result counts as initialised, failures too, so nothing is ever thrown: where
/// COM is really missing, the first use of it says so.
///
///     const kq::com::ComUsage com;
class ComUsage {
public:
    /// Initialises COM with the flags `coInit` of the platform's enumeration `COINIT`. The default
    /// is its `COINIT_MULTITHREADED`; 2 is `COINIT_APARTMENTTHREADED`.
    KQ_API explicit ComUsage(unsigned long coInit = 0) noexcept;
    /// Calls `CoUninitialize`, unless the thread had an apartment of the other kind.
    KQ_API ~ComUsage();
    ComUsage(const ComUsage&) = delete;
    ComUsage& operator=(const ComUsage&) = delete;

private:
    // Here and not behind a pointer, whose allocation could throw.
    const bool mustUninitialize_;
};

} // namespace com
} // namespace kq
