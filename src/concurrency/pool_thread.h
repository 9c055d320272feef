// The threads that a pool makes by default.
#pragma once

#include <kq/concurrency/thread_pool.h>

#include <memory>

namespace kq::concurrency {

/// The default thread factory: a thread of the platform. Returns null when the system refuses.
std::unique_ptr<CThread> MakePoolThread(const Job& function);

/// From now on no pool thread is made, and the destructors of those that were do not wait. For the
/// moment in which the library is unmapped: every thread has given its reference on the module back
/// by then and runs none of our code any more, but to end it still needs the loader's lock, which
/// the caller holds.
void AbandonPoolThreads() noexcept;

} // namespace kq::concurrency
