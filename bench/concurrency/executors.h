// The job queue and its peers, behind one face.
#pragma once

#include <kq/concurrency/job_queue.h>

#include "event.h"
#include "table.h"

#include <boost/asio/packaged_task.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>

#if defined(KQ_BENCH_LIBTHREADPOOL)
#include <thread_pool/thread_pool.hpp>
#endif

#include <windows.h>

#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

/// Each executor has
/// - `Begin(n)`: n jobs will be submitted next;
/// - `Handle Submit(f)`: queues a job and returns what the executor gives to wait for it;
/// - `WaitForAll(handles)`: waits for the jobs of these handles, or, where handles know nothing,
///   for all n;
/// - `Post(f)`: queues a job in the cheapest way, without a handle, where there is such a way.
namespace bench {

/// `kq::concurrency::jobQueue`; every job has a ticket.
class KqExecutor {
public:
    using Handle = kq::concurrency::CJobTicket;

    void Begin(std::size_t /*count*/) {}
    template <class F>
    Handle Submit(const F& function) {
        return kq::concurrency::jobQueue->Queue(function);
    }
    void WaitForAll(const std::vector<Handle>& handles) {
        for (const Handle& handle : handles)
            handle.Wait();
    }
    template <class F>
    void Post(const F& function) {
        kq::concurrency::jobQueue->Queue(function);
    }
};

/// `CreateThreadpoolWork` and `SubmitThreadpoolWork`: one work object a job, which can be waited
/// for.
class PlatformWork {
public:
    class Handle {
    public:
        template <class F>
        explicit Handle(const F& function)
            : call_(std::make_unique<Call<F>>(function)),
              work_(CreateThreadpoolWork(&Run, call_.get(), nullptr)) {
            if (work_ == nullptr)
                throw std::runtime_error("CreateThreadpoolWork failed");
            SubmitThreadpoolWork(work_);
        }
        Handle(Handle&& other) noexcept
            : call_(std::move(other.call_)), work_(std::exchange(other.work_, nullptr)) {}
        Handle& operator=(Handle&&) = delete;
        ~Handle() {
            if (work_ != nullptr)
                CloseThreadpoolWork(work_);
        }

        void Wait() const { WaitForThreadpoolWorkCallbacks(work_, FALSE); }

    private:
        struct AnyCall {
            virtual ~AnyCall() = default;
            virtual void operator()() = 0;
        };
        template <class F>
        struct Call final : AnyCall {
            explicit Call(const F& theFunction) : function(theFunction) {}
            void operator()() override { function(); }
            F function;
        };

        static void CALLBACK Run(PTP_CALLBACK_INSTANCE /*instance*/, void* call,
                                 PTP_WORK /*work*/) {
            (*static_cast<AnyCall*>(call))();
        }

        std::unique_ptr<AnyCall> call_;
        PTP_WORK work_;
    };

    void Begin(std::size_t /*count*/) {}
    template <class F>
    Handle Submit(const F& function) {
        return Handle(function);
    }
    void WaitForAll(const std::vector<Handle>& handles) {
        for (const Handle& handle : handles)
            handle.Wait();
    }
};

/// An executor that gives no handle: the jobs themselves count down.
template <class Pool>
class Counted {
public:
    struct Handle {};

    void Begin(std::size_t count) { countdown_.Begin(count); }
    template <class F>
    Handle Submit(const F& function) {
        pool_.Post([this, function] {
            function();
            countdown_.CountOne();
        });
        return {};
    }
    void WaitForAll(const std::vector<Handle>& /*handles*/) { countdown_.Wait(); }
    template <class F>
    void Post(const F& function) {
        pool_.Post(function);
    }

private:
    Countdown countdown_;
    Pool pool_;
};

/// `TrySubmitThreadpoolCallback` with a closure on the heap.
class PlatformCallbacks {
public:
    template <class F>
    void Post(const F& function) {
        auto closure = std::make_unique<F>(function);
        if (TrySubmitThreadpoolCallback(&Run<F>, closure.get(), nullptr) == FALSE)
            throw std::runtime_error("TrySubmitThreadpoolCallback failed");
        static_cast<void>(closure.release()); // the callback frees it
    }

private:
    template <class F>
    static void CALLBACK Run(PTP_CALLBACK_INSTANCE /*instance*/, void* closure) {
        (*std::unique_ptr<F>(static_cast<F*>(closure)))();
    }
};

/// `boost::asio::post` to a `boost::asio::thread_pool` of as many threads as processors.
class AsioPosts {
public:
    template <class F>
    void Post(const F& function) {
        boost::asio::post(pool_, function);
    }

private:
    boost::asio::thread_pool pool_{std::thread::hardware_concurrency()};
};

/// Futures, with whatever makes them.
class Futures {
public:
    using Handle = std::future<void>;

    void Begin(std::size_t /*count*/) {}
    void WaitForAll(const std::vector<Handle>& handles) {
        for (const Handle& handle : handles)
            handle.wait();
    }
};

/// `boost::asio::post` with `use_future`.
class AsioFutures : public Futures {
public:
    template <class F>
    Handle Submit(const F& function) {
        return boost::asio::post(pool_, boost::asio::use_future(function));
    }

private:
    boost::asio::thread_pool pool_{std::thread::hardware_concurrency()};
};

#if defined(KQ_BENCH_LIBTHREADPOOL)
/// The `ThreadPool` of Debian's libthread-pool-dev.
class LibThreadPool : public Futures {
public:
    template <class F>
    Handle Submit(const F& function) {
        return pool_.Submit(function);
    }

private:
    thread_pool::ThreadPool pool_;
};
#endif

/// `std::async` with `std::launch::async`.
class StdAsync : public Futures {
public:
    template <class F>
    Handle Submit(const F& function) {
        return std::async(std::launch::async, function);
    }
};

/// The executors as the table calls them; those that give no handle on a job say so.
inline constexpr const char* kqName = "kq jobQueue";
inline constexpr const char* workName = "SubmitThreadpoolWork";
inline constexpr const char* callbackName = "TrySubmitThreadpoolCallback, no handle";
inline constexpr const char* asioPostName = "boost::asio post, no handle";
inline constexpr const char* asioFutureName = "boost::asio use_future";
inline constexpr const char* libThreadPoolName = "libthread-pool";
inline constexpr const char* asyncName = "std::async";

/// Enters the library, or a peer, according to `Executor`.
template <class Executor>
void EnterExecutor(Row& row, const char* name, std::function<double()> run) {
    if constexpr (std::is_same_v<Executor, KqExecutor>)
        row.Enter(name, std::move(run));
    else
        row.EnterPeer(name, std::move(run));
}

} // namespace bench
