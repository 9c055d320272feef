// Who hears what a signaler emits.
#include <kq/signal/signaler.h>

#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using kq::signal::Connection;
using kq::signal::CSignaler;

namespace {

TEST(Signaler, EmittingToNobodyDoesNothing) {
    const CSignaler<int> signaler;
    signaler.Emit(1);
}

TEST(Signaler, CallsTheSinksInTheOrderOfConnection) {
    CSignaler<int> signaler;
    std::vector<std::string> calls;
    const auto record = [&calls](const char* name) {
        return [&calls, name](int value) { calls.push_back(name + std::to_string(value)); };
    };
    const Connection a = signaler.Connect(record("a"));
    const Connection b = signaler.Connect(record("b"));
    const Connection c = signaler.Connect(record("c"));
    signaler.Emit(1);
    signaler.Emit(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"a1", "b1", "c1", "a2", "b2", "c2"}));
}

TEST(Signaler, KeepsTheOrderWhenSinksInTheMiddleAndAtTheEndsGo) {
    CSignaler<int> signaler;
    std::string calls;
    std::vector<Connection> connections;
    for (const char name : std::string("abcdef"))
        connections.push_back(signaler.Connect([&calls, name](int) { calls += name; }));
    for (const std::size_t gone : {2u, 0u, 5u})
        connections[gone].reset();
    connections.push_back(signaler.Connect([&calls](int) { calls += 'g'; }));
    signaler.Emit(0);
    EXPECT_EQ(calls, "bdeg");
}

TEST(Signaler, DoesNotCallASinkWhoseConnectionWasReleased) {
    CSignaler<int> signaler;
    int calls = 0;
    Connection connection = signaler.Connect([&](int) { ++calls; });
    signaler.Emit(0);
    connection.reset();
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
}

TEST(Signaler, AConnectionLastsUntilItsLastCopyIsReleased) {
    CSignaler<int> signaler;
    int calls = 0;
    Connection connection = signaler.Connect([&](int) { ++calls; });
    Connection copy = connection;
    connection.reset();
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
    copy.reset();
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
}

TEST(Signaler, ReleasingTheConnectionDestroysTheCallables) {
    CSignaler<int> signaler;
    int gone = 0;
    const auto token = [&gone] { return kq_test::OnDestruction([&gone] { ++gone; }); };
    Connection connection =
        signaler.Connect([held = token()](int) {}, [held = token()](const std::exception_ptr&) {},
                         [held = token()] {});
    EXPECT_EQ(gone, 0);
    connection.reset();
    EXPECT_EQ(gone, 3);
}

TEST(Signaler, DoesNotOwnItsSinks) {
    int gone = 0;
    Connection connection;
    {
        CSignaler<int> signaler;
        connection = signaler.Connect([held = kq_test::OnDestruction([&gone] { ++gone; })](int) {});
    }
    EXPECT_EQ(gone, 0);
    connection.reset();
    EXPECT_EQ(gone, 1);
}

TEST(Signaler, GivesEachSinkThatTakesAValueItsOwnCopy) {
    CSignaler<std::string> signaler;
    std::vector<std::string> seen;
    const auto spoil = [&seen](std::string value) {
        seen.push_back(std::move(value));
        value = "spoilt";
    };
    const Connection first = signaler.Connect(spoil);
    const Connection second = signaler.Connect(std::function<void(std::string)>(spoil));
    const std::string value = "a value that is too long for its object";
    signaler.Emit(value);
    EXPECT_EQ(seen, std::vector<std::string>(2, value));
}

TEST(Signaler, TakesACallbackByReferenceAsItIs) {
    CSignaler<std::string> signaler;
    std::string seen;
    const std::function<void(std::string const&)> callback = [&seen](std::string const& value) {
        seen = value;
    };
    const Connection connection = signaler.Connect(callback);
    signaler.Emit("text");
    EXPECT_EQ(seen, "text");
}

TEST(Signaler, AnEmptyValueCallbackThrowsWhenItIsCalled) {
    CSignaler<int> signaler;
    for (const auto& empty : {std::function<void(int const&)>(),
                              std::function<void(int const&)>(std::function<void(int)>())}) {
        int before = 0;
        int after = 0;
        const Connection first = signaler.Connect([&](int) { ++before; });
        Connection second = signaler.Connect(empty);
        const Connection third = signaler.Connect([&](int) { ++after; });
        EXPECT_THROW(signaler.Emit(0), std::bad_function_call);
        EXPECT_EQ(before, 1);
        EXPECT_EQ(after, 0);
        second.reset();
        signaler.Emit(0);
        EXPECT_EQ(after, 1);
    }
}

TEST(Signaler, WhatASinkThrowsLeavesTheEmission) {
    CSignaler<int> signaler;
    bool isBroken = true;
    int after = 0;
    const Connection first = signaler.Connect([&](int) {
        if (isBroken)
            throw std::runtime_error("broken");
    });
    const Connection second = signaler.Connect([&](int) { ++after; });
    EXPECT_THROW(signaler.Emit(0), std::runtime_error);
    EXPECT_EQ(after, 0);
    isBroken = false;
    signaler.Emit(0);
    EXPECT_EQ(after, 1);
}

TEST(Signaler, AConnectionMayOutliveTheSignaler) {
    std::optional<CSignaler<int>> signaler(std::in_place);
    std::vector<Connection> connections;
    connections.reserve(3);
    for (int i = 0; i != 3; ++i)
        connections.push_back(signaler->Connect([](int) {}));
    signaler.reset();
    connections.erase(connections.begin() + 1);
    connections.clear();
}

} // namespace
