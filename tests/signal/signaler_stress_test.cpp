// Sinks that come and go on several threads while others emit.
#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"
#include "support/seed.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <vector>

using kq::signal::CBehaviorSignaler;
using kq::signal::Connection;
using kq::signal::CSignaler;
using kq_test::Random;
using kq_test::ReturnsInTime;

namespace {

constexpr std::uint32_t threads = 4;

struct Counts {
    std::atomic<int> made{0};
    std::atomic<int> gone{0};
    std::atomic<int> calls{0};
    std::atomic<int> callsAfterTheEnd{0};
};

/// A sink that knows whether its callables still exist.
template <class Signaler>
Connection ConnectCounted(Signaler& signaler, Counts& counts, Random& random) {
    ++counts.made;
    const auto alive = std::make_shared<std::atomic<bool>>(true);
    const bool throws = random.OneIn(20);
    return signaler.Connect(
        [alive, throws, &counts, held = kq_test::OnDestruction([alive, &counts] {
                                     *alive = false;
                                     ++counts.gone;
                                 })](int value) {
            ++counts.calls;
            if (!*alive)
                ++counts.callsAfterTheEnd;
            if (throws && value == 7)
                throw std::runtime_error("no");
        });
}

template <class Signaler>
void Run(Signaler& signaler, Counts& counts, std::uint32_t seed, std::uint32_t thread) {
    Random random(seed, thread);
    std::vector<Connection> own;
    for (int step = 0; step != 20'000; ++step) {
        try {
            switch (random.Below(4)) {
                case 0:
                    if (own.size() < 10)
                        own.push_back(ConnectCounted(signaler, counts, random));
                    break;
                case 1:
                    if (!own.empty())
                        own.erase(own.begin() +
                                  random.Below(static_cast<std::uint32_t>(own.size())));
                    break;
                default:
                    signaler.Emit(static_cast<int>(random.Below(100)));
                    break;
            }
        } catch (const std::runtime_error&) {
            continue; // thrown by a sink, maybe another thread's
        }
    }
}

template <class Signaler>
void StressOf(Signaler& signaler) {
    const std::uint32_t seed = kq_test::Seed();
    Counts counts;
    ReturnsInTime("a stress test of signalers", [&] {
        std::vector<std::thread> running;
        for (std::uint32_t thread = 0; thread != threads; ++thread)
            running.emplace_back([&, thread] { Run(signaler, counts, seed, thread); });
        for (std::thread& thread : running)
            thread.join();
    });
    EXPECT_GT(counts.calls, 0);
    EXPECT_EQ(counts.callsAfterTheEnd, 0);
    EXPECT_EQ(counts.made, counts.gone);

    // Nothing is left of them.
    const int calls = counts.calls;
    signaler.Emit(0);
    EXPECT_EQ(counts.calls, calls);
    kq_test::ReportStress(1, 0);
}

TEST(SignalerStress, SinksComeAndGoWhileOthersEmit) {
    CSignaler<int> signaler;
    StressOf(signaler);
}

TEST(SignalerStress, SinksOfABehaviorSignalerComeAndGoWhileOthersEmit) {
    CBehaviorSignaler<int> signaler(0);
    StressOf(signaler);
}

// A sink that is connected throughout hears every emission once, whoever comes and goes beside it.
TEST(SignalerStress, ASinkThatStaysHearsEveryEmissionOnce) {
    const std::uint32_t seed = kq_test::Seed();
    CSignaler<int> signaler;
    constexpr int emissions = 50'000;
    std::atomic<int> heardByFirst{0};
    std::atomic<int> heardByMiddle{0};
    Counts counts;
    ReturnsInTime("emissions beside connections", [&] {
        const Connection first = signaler.Connect([&](int) { ++heardByFirst; });
        std::vector<Connection> others;
        const Connection middle = signaler.Connect([&](int) { ++heardByMiddle; });
        std::vector<std::thread> running;
        for (std::uint32_t thread = 0; thread != 2; ++thread)
            running.emplace_back([&] {
                for (int i = 0; i != emissions; ++i)
                    signaler.Emit(1);
            });
        for (std::uint32_t thread = 2; thread != 4; ++thread)
            running.emplace_back([&, thread] {
                Random random(seed, thread);
                for (int i = 0; i != emissions; ++i) {
                    const Connection one = signaler.Connect([&](int) { ++counts.calls; });
                    const Connection two = signaler.Connect([](int) {});
                    if (random.OneIn(4))
                        std::this_thread::yield();
                }
            });
        for (std::thread& thread : running)
            thread.join();
    });
    EXPECT_EQ(heardByFirst, 2 * emissions);
    EXPECT_EQ(heardByMiddle, 2 * emissions);
    kq_test::ReportStress(1, 0);
}

} // namespace
