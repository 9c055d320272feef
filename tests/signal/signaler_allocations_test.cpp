// What signalers take from the heap, counted.
#include <kq/signal/behavior_signaler.h>
#include <kq/signal/signaler.h>

#include "support/allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using kq::signal::CBehaviorSignaler;
using kq::signal::Connection;
using kq::signal::CSignaler;

namespace {

/// Allocates when it is copied.
const std::vector<int> copyable{1, 2, 3};

TEST(SignalerAllocations, NoneForAnEmissionToAnyNumberOfSinks) {
    for (const std::size_t count : {0u, 1u, 8u, 1'000u}) {
        CSignaler<std::vector<int>> signaler;
        std::vector<Connection> connections;
        std::size_t calls = 0;
        for (std::size_t i = 0; i != count; ++i)
            connections.push_back(signaler.Connect(
                [&calls](std::vector<int> const& value) { calls += value.size(); }));
        const std::size_t before = kq_test::Allocations();
        for (int i = 0; i != 100; ++i)
            signaler.Emit(copyable);
        EXPECT_EQ(kq_test::Allocations() - before, 0u) << count << " sinks";
        EXPECT_EQ(calls, 100 * count * copyable.size());
    }
}

TEST(SignalerAllocations, NoneForAnEmissionOfABehaviorSignaler) {
    CBehaviorSignaler<int> signaler(0);
    int sum = 0;
    std::vector<Connection> connections;
    for (int i = 0; i != 8; ++i)
        connections.push_back(signaler.Connect([&sum](int value) { sum += value; }));
    const std::size_t before = kq_test::Allocations();
    for (int i = 0; i != 100; ++i)
        signaler.Emit(1);
    EXPECT_EQ(kq_test::Allocations() - before, 0u);
    EXPECT_EQ(sum, 800);
}

TEST(SignalerAllocations, NoneForTellingOfTheEnd) {
    CSignaler<int> signaler;
    int told = 0;
    const Connection connection = signaler.Connect(
        [](int) {}, [&told](const std::exception_ptr&) { ++told; }, [&told] { ++told; });
    const std::exception_ptr failure = std::make_exception_ptr(1);
    const std::size_t before = kq_test::Allocations();
    signaler.Fail(failure);
    signaler.Complete();
    EXPECT_EQ(kq_test::Allocations() - before, 0u);
    EXPECT_EQ(told, 2);
}

TEST(SignalerAllocations, NoneForDisconnectingAndTheSameForEveryConnection) {
    CSignaler<int> signaler;
    std::vector<Connection> connections(1'000);
    for (Connection& connection : connections) {
        const std::size_t before = kq_test::Allocations();
        connection = signaler.Connect([](int) {});
        ASSERT_LE(kq_test::Allocations() - before, 2u);
    }
    const std::size_t before = kq_test::Allocations();
    connections.clear();
    EXPECT_EQ(kq_test::Allocations() - before, 0u);
}

} // namespace
