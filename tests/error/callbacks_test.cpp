#include "error/callbacks.h"

#include "support/failing_heap.h"
#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <thread>
#include <vector>

using kq::error::Callbacks;
using Handle = boost::shared_ptr<boost::signals2::scoped_connection>;

namespace {

// Whether `callbacks` can be used on another thread, which it could not if it were locked here.
void UseOnAnotherThread(Callbacks<void()>& callbacks) {
    kq_test::ReturnsInTime("the use of callbacks by another thread", [&] {
        const Handle handle = callbacks.Add([] {});
        callbacks.Call();
    });
}

TEST(ConnectingACallback, ConnectsNothingWhenAnyAllocationFails) {
    for (int earlier = 0; earlier != 2; ++earlier) {
        int failures = 0;
        for (bool isConnected = false; !isConnected; ++failures) {
            Callbacks<void()> callbacks;
            int called = 0;
            std::vector<Handle> others;
            for (int other = 0; other != earlier; ++other)
                others.push_back(callbacks.Add([&called] { called += 10; }));
            // More than a function object holds inside itself.
            const std::array<int*, 8> captured{&called};
            const boost::function<void()> function([captured] { ++*captured[0]; });
            Handle handle;
            try {
                const kq_test::FailingHeap heap(failures);
                handle = callbacks.Add(function);
                isConnected = true;
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(handle, nullptr);
            }
            callbacks.Call();
            EXPECT_EQ(called, 10 * earlier + (isConnected ? 1 : 0)) << "allocation " << failures;
            // The next one is connected as if nothing had happened.
            const Handle next = callbacks.Add([&called] { called += 100; });
            callbacks.Call();
            EXPECT_EQ(called, 100 + 20 * earlier + (isConnected ? 2 : 0));
        }
        EXPECT_GT(failures, 3);
    }
}

TEST(ConnectingACallback, CopiesItWithoutALock) {
    struct Copied {
        explicit Copied(Callbacks<void()>& theCallbacks) : callbacks(theCallbacks) {}
        Copied(const Copied& other) : callbacks(other.callbacks) { UseOnAnotherThread(callbacks); }
        void operator()() const {}

        Callbacks<void()>& callbacks;
    };
    Callbacks<void()> callbacks;
    const Handle handle = callbacks.Add(Copied(callbacks));
    EXPECT_TRUE(handle->connected());
}

TEST(ACallback, IsDestroyedWithoutALock) {
    Callbacks<void()> callbacks;
    int destroyed = 0;
    const auto connect = [&] {
        return callbacks.Add([token = kq_test::OnDestruction([&] {
                                  UseOnAnotherThread(callbacks);
                                  ++destroyed;
                              })] {});
    };
    connect().reset();
    EXPECT_EQ(destroyed, 1);

    // By the call that it is disconnected in, and by that of another thread.
    Handle handle = connect();
    Handle releasing = callbacks.Add([&] { handle.reset(); });
    callbacks.Call();
    EXPECT_EQ(destroyed, 2);
    releasing.reset();
    handle = connect();
    releasing = callbacks.Add([&] { std::thread([&] { handle.reset(); }).join(); });
    callbacks.Call();
    EXPECT_EQ(destroyed, 3);

    // Through the handle, which stays.
    handle = connect();
    handle->disconnect();
    EXPECT_EQ(destroyed, 4);
}

// One call of the callbacks, as the thread that makes it sees it.
struct Seen {
    int reached = 0;
    int ownCalls = 0;
};

// Adds, removes and calls, and returns how many calls went wrong. The callbacks that were there
// from the start count up to `permanent` in their order; only this thread changes its own.
int ChangeAndCall(Callbacks<void(Seen*)>& callbacks, int permanent, kq_test::Random random) {
    constexpr int rounds = 20'000;
    int wrong = 0;
    std::vector<Handle> own;
    for (int round = 0; round != rounds; ++round) {
        const std::uint32_t choice = random.Below(4);
        if (choice == 0) {
            own.push_back(callbacks.Add([self = std::this_thread::get_id()](Seen* seen) {
                if (std::this_thread::get_id() == self)
                    ++seen->ownCalls;
            }));
        } else if (choice == 1 && !own.empty()) {
            own.erase(own.begin() + random.Below(static_cast<std::uint32_t>(own.size())));
        } else {
            Seen call;
            callbacks.Call(&call);
            if (call.reached != permanent || call.ownCalls != static_cast<int>(own.size()))
                ++wrong;
        }
    }
    return wrong;
}

TEST(Callbacks, AreCalledInOrderWhileAllThreadsChangeThem) {
    constexpr int permanent = 3;
    const std::uint32_t seed = kq_test::Seed();
    Callbacks<void(Seen*)> callbacks;
    std::vector<Handle> handles;
    for (int place = 1; place <= permanent; ++place)
        handles.push_back(callbacks.Add([place](Seen* seen) {
            // An order that is not kept is never made good.
            seen->reached = seen->reached == place - 1 ? place : -1;
        }));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::uint32_t number = 0; number != 4; ++number)
        threads.emplace_back([&, number] {
            wrong += ChangeAndCall(callbacks, permanent, kq_test::Random(seed, number));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
