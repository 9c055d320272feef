// A unit of work.
#pragma once

#include <functional>
#include <type_traits>
#include <utility>

namespace kq {
namespace concurrency {

/// A unit of work: one callable without arguments, whose result, if any, is dropped.
///
/// Made implicitly from whatever can be called, so that a lambda can be queued as it stands. The
/// callable has to be copyable. A value type; not synchronised.
///
/// An executor destroys the callable, and with it whatever it captured, before it wakes those who
/// wait for the job. An empty job may be submitted; running it fails with `std::bad_function_call`.
class Job {
public:
    /// An empty job.
    Job() noexcept = default;

    /// Takes over `callable`. An empty `std::function` or a null function pointer makes an empty
    /// job. Throws what copying the callable throws, or `std::bad_alloc`.
    template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, Job> &&
                                                std::is_invocable_v<std::decay_t<F>&>>>
    Job(F&& callable) : callable_(std::forward<F>(callable)) {}

    /// Calls the callable. Throws what it throws, and `std::bad_function_call` when the job is
    /// empty.
    void operator()() const { callable_(); }

private:
    std::function<void()> callable_;
};

} // namespace concurrency
} // namespace kq
