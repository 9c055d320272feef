// Sinks that connect on one thread while another one emits.
#include <kq/signal/behavior_signaler.h>

#include "support/hand_shake.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

using kq::signal::CBehaviorSignaler;
using kq::signal::Connection;
using kq_test::Event;
using kq_test::ReturnsInTime;

namespace {

TEST(BehaviorSignalerThreads, AValueThatIsEmittedDuringAReplayIsNotLost) {
    CBehaviorSignaler<int> signaler(1);
    Event replaying;
    Event emitted;
    std::vector<int> seen;
    ReturnsInTime("a connection during an emission", [&] {
        std::thread emitter([&] {
            replaying.Wait("the replay");
            signaler.Emit(2);
            emitted.Set();
        });
        const Connection connection = signaler.Connect([&](int value) {
            seen.push_back(value);
            if (value == 1) {
                replaying.Set();
                emitted.Wait("the emission");
            }
        });
        emitter.join();
    });
    EXPECT_EQ(seen, (std::vector<int>{1, 2}));
}

// A value that says itself whether it is whole.
std::string Text(std::size_t number) {
    return std::string(20 + number % 50, static_cast<char>('a' + number % 26));
}
bool IsWhole(const std::string& text) {
    return text.size() >= 20 && text.find_first_not_of(text[0]) == std::string::npos;
}

TEST(BehaviorSignalerThreads, ValuesDoNotTear) {
    constexpr std::size_t emissions = 20'000;
    CBehaviorSignaler<std::string> signaler(Text(0));
    std::atomic<bool> hasEnded{false};
    std::atomic<std::size_t> torn{0};
    std::size_t connections = 0;
    ReturnsInTime("connections during emissions", [&] {
        std::thread emitter([&] {
            for (std::size_t i = 0; i != emissions; ++i)
                signaler.Emit(Text(i));
            hasEnded = true;
        });
        do {
            const Connection connection = signaler.Connect([&](std::string const& value) {
                if (!IsWhole(value))
                    ++torn;
            });
            ++connections;
        } while (!hasEnded);
        emitter.join();
    });
    EXPECT_EQ(torn, 0u);
    EXPECT_GT(connections, 0u);
}

// With one thread that emits, a sink hears the values in their order, without a gap at the end.
TEST(BehaviorSignalerThreads, ASinkThatConnectsMeanwhileEndsWithTheLastValue) {
    for (int round = 0; round != 300; ++round) {
        CBehaviorSignaler<int> signaler(0);
        constexpr int last = 100; // no more than a connection follows in order
        std::atomic<int> seen{-1};
        std::atomic<int> steps{0};
        std::atomic<bool> wentBack{false};
        ReturnsInTime("a connection during emissions", [&] {
            std::thread emitter([&] {
                for (int value = 1; value <= last; ++value) {
                    signaler.Emit(value);
                    steps = value;
                }
            });
            while (steps.load() < round % (last / 2))
                std::this_thread::yield();
            const Connection connection = signaler.Connect([&](int value) {
                if (seen.exchange(value) > value)
                    wentBack = true;
            });
            emitter.join();
        });
        ASSERT_EQ(seen, last) << "round " << round;
        ASSERT_FALSE(wentBack) << "round " << round;
    }
}

} // namespace
