// Translating foreign exceptions into those of the application.
#pragma once

#include <kq/export.h>
#include <kq/shared_ref.h>
#include <kq/singleton.h>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <memory>

namespace kq {
namespace error {

class ExceptionNormalizerImpl;

/// Calls the normalizers that the application connected. Each of them rethrows the exception that
/// is being handled inside a try block of its own, throws the application's exception for those
/// that it knows, and returns for all others. This class knows no exception type itself.
///
/// A catch-all block that calls `NormalizeCurrentException()` and then `throw;` so hands on either
/// a normalized exception or the one that it caught.
///
/// Every operation may be called from any thread at once, and from inside a normalizer: no lock is
/// held while one is called. Connecting and disconnecting during a call act as `ErrorReporter`
/// says.
class ExceptionNormalizer {
public:
    /// A new normalizer that nothing is connected to. Throws `std::bad_alloc`.
    KQ_API static shared_ref<ExceptionNormalizer, boost::shared_ptr> Create();

    ExceptionNormalizer(const ExceptionNormalizer&) = delete;
    ExceptionNormalizer& operator=(const ExceptionNormalizer&) = delete;

    /// Connects `normalizer` behind all others, for as long as a copy of the result is held; the
    /// rules are those of `ErrorReporter::AddReporter`. Throws `std::bad_alloc`, and then nothing
    /// is connected.
    KQ_API boost::shared_ptr<boost::signals2::scoped_connection> AddNormalizer(
        boost::function<void()> const& normalizer);

    /// Calls the normalizers in the order in which they were connected: to be called inside a catch
    /// block. The first that throws ends the call, and its exception goes to the caller. Returns
    /// when none of them knows the exception, or none is connected; the exception is then still the
    /// caller's to handle.
    KQ_API void NormalizeCurrentException();

private:
    ExceptionNormalizer();
    ~ExceptionNormalizer();
    static void Destroy(ExceptionNormalizer* normalizer);

    std::unique_ptr<ExceptionNormalizerImpl> impl_;
};

/// The normalizer of the process. Installed while the library is attached; released by its
/// shutdown, with all that was connected to it.
extern KQ_API Singleton<ExceptionNormalizer, boost::shared_ptr> exceptionNormalizer;

} // namespace error
} // namespace kq
