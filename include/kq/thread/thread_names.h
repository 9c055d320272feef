// Readable names of threads, for diagnostics and reports.
#pragma once

#include <kq/export.h>
#include <kq/shared_ref.h>
#include <kq/singleton.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

namespace kq {
namespace thread {

class ThreadNameMapImpl;

/// Names of threads by thread identifier. The names are for the library and its host; the system
/// and debuggers do not get to see them. Every operation may be called from any thread at once.
///
/// Operations that store a name throw `std::bad_alloc`, and then change nothing.
class ThreadNameMap {
public:
    /// Makes a new map without names.
    KQ_API static shared_ref<ThreadNameMap, boost::shared_ptr> Create();

    KQ_API ~ThreadNameMap();
    ThreadNameMap(const ThreadNameMap&) = delete;
    ThreadNameMap& operator=(const ThreadNameMap&) = delete;

    /// The name of the thread `threadId`. A thread without a name is named here by its identifier
    /// in decimal ("4712"), and keeps that name.
    KQ_API std::string GetName(unsigned long threadId);
    /// `GetName` of the calling thread.
    KQ_API std::string GetCurrentName();

    /// Names the thread `threadId`; replaces an earlier name. No thread of that identifier has to
    /// exist.
    KQ_API void SetName(unsigned long threadId, std::string const& name);
    /// `SetName` for the calling thread.
    KQ_API void SetCurrentName(std::string const& name);

    /// Forgets the name of the thread `threadId`; does nothing when it has none.
    KQ_API void ResetName(unsigned long threadId) noexcept;
    /// `ResetName` for the calling thread.
    KQ_API void ResetCurrentName() noexcept;

private:
    ThreadNameMap();

    std::unique_ptr<ThreadNameMapImpl> impl_;
};

/// The names of the threads of this process. Installed while the library is attached; a thread's
/// name is forgotten when the thread ends, so that a later thread with the same identifier does not
/// inherit it.
extern KQ_API Singleton<ThreadNameMap, boost::shared_ptr> threadNameManager;

} // namespace thread
} // namespace kq
