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

TEST(Callbacks, AreCalledInOrderWhileAllThreadsChangeThem) {
    constexpr int rounds = 20'000;
    const std::uint32_t seed = kq_test::Seed();
    Callbacks<void(Seen*)> callbacks;
    std::atomic<int> wrong{0};
    const auto addPermanent = [&](int place) {
        return callbacks.Add([&wrong, place](Seen* seen) {
            if (seen->reached != place - 1)
                ++wrong;
            seen->reached = place;
        });
    };
    // Connected all the time; others come and go behind them.
    const std::array<Handle, 3> permanent{addPermanent(1), addPermanent(2), addPermanent(3)};
    std::vector<std::thread> threads;
    for (std::uint32_t number = 0; number != 4; ++number)
        threads.emplace_back([&, number] {
            kq_test::Random random(seed, number);
            std::vector<Handle> own;
            for (int round = 0; round != rounds; ++round) {
                switch (random.Below(4)) {
                    case 0:
                        own.push_back(
                            callbacks.Add([self = std::this_thread::get_id()](Seen* seen) {
                                if (std::this_thread::get_id() == self)
                                    ++seen->ownCalls;
                            }));
                        break;
                    case 1:
                        if (!own.empty())
                            own.erase(own.begin() +
                                      random.Below(static_cast<std::uint32_t>(own.size())));
                        break;
                    default:
                        Seen call;
                        callbacks.Call(&call);
                        // Nobody else changes those of this thread.
                        if (call.reached != 3 || call.ownCalls != static_cast<int>(own.size()))
                            ++wrong;
                        break;
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
