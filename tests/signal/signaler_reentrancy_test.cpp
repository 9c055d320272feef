// What sinks may do to their signaler while they are called.
#include <kq/signal/signaler.h>

#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using kq::signal::Connection;
using kq::signal::CSignaler;

namespace {

TEST(SignalerReentrancy, ASinkConnectedInAnEmissionIsNotCalledByIt) {
    CSignaler<int> signaler;
    std::vector<Connection> added;
    int calls = 0;
    const Connection connection =
        signaler.Connect([&](int) { added.push_back(signaler.Connect([&](int) { ++calls; })); });
    signaler.Emit(0);
    EXPECT_EQ(calls, 0);
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
    signaler.Emit(0);
    EXPECT_EQ(calls, 3);
}

TEST(SignalerReentrancy, ASinkReleasedInAnEmissionBeforeItsTurnIsSkipped) {
    CSignaler<int> signaler;
    Connection second;
    Connection third;
    int skipped = 0;
    int called = 0;
    const Connection first = signaler.Connect([&](int) {
        second.reset();
        third.reset();
    });
    second = signaler.Connect([&](int) { ++skipped; });
    third = signaler.Connect([&](int) { ++skipped; });
    const Connection fourth = signaler.Connect([&](int) { ++called; });
    signaler.Emit(0);
    EXPECT_EQ(skipped, 0);
    EXPECT_EQ(called, 1);
}

TEST(SignalerReentrancy, ASinkThatReleasesItselfFinishesItsCallAndIsDestroyedThen) {
    CSignaler<int> signaler;
    Connection connection;
    std::string events;
    connection =
        signaler.Connect([&events, &connection,
                          held = kq_test::OnDestruction([&events] { events += " gone"; })](int) {
            connection.reset();
            events += "called";
        });
    const Connection next = signaler.Connect([&events](int) { events += " next"; });
    signaler.Emit(0);
    EXPECT_EQ(events, "called gone next");
    signaler.Emit(0);
    EXPECT_EQ(events, "called gone next next");
}

TEST(SignalerReentrancy, ASinkThatHasReleasedItselfIsNotCalledByWhatItEmits) {
    CSignaler<int> signaler;
    Connection connection;
    int calls = 0;
    connection = signaler.Connect([&](int) {
        ++calls;
        connection.reset();
        signaler.Emit(0);
    });
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
}

TEST(SignalerReentrancy, ASinkMayReleaseThoseBeforeIt) {
    CSignaler<int> signaler;
    std::string calls;
    std::vector<Connection> earlier;
    for (int i = 0; i != 3; ++i)
        earlier.push_back(signaler.Connect([&calls](int) { calls += 'e'; }));
    const Connection last = signaler.Connect([&](int) {
        earlier.clear();
        calls += 'l';
    });
    signaler.Emit(0);
    signaler.Emit(0);
    EXPECT_EQ(calls, "eeell");
}

TEST(SignalerReentrancy, ASinkMayReplaceItself) {
    CSignaler<int> signaler;
    Connection connection;
    int calls = 0;
    std::function<void(int)> replace = [&](int) {
        ++calls;
        connection = signaler.Connect(replace);
    };
    connection = signaler.Connect(replace);
    for (int i = 1; i != 5; ++i) {
        signaler.Emit(0);
        EXPECT_EQ(calls, i);
    }
}

TEST(SignalerReentrancy, ANestedEmissionReachesAllSinksFirst) {
    CSignaler<int> signaler;
    std::string calls;
    const Connection first = signaler.Connect([&](int value) {
        calls += "a" + std::to_string(value);
        if (value == 1)
            signaler.Emit(2);
    });
    const Connection second =
        signaler.Connect([&](int value) { calls += "b" + std::to_string(value); });
    signaler.Emit(1);
    EXPECT_EQ(calls, "a1a2b2b1");
}

TEST(SignalerReentrancy, ASinkReleasedInANestedEmissionIsSkippedByTheOuterOne) {
    CSignaler<int> signaler;
    Connection second;
    int calls = 0;
    const Connection first = signaler.Connect([&](int value) {
        if (value == 1)
            signaler.Emit(2);
    });
    second = signaler.Connect([&](int) {
        ++calls;
        second.reset();
    });
    signaler.Emit(1);
    EXPECT_EQ(calls, 1);
}

TEST(SignalerReentrancy, ASinkMayDestroyTheSignaler) {
    for (const bool releasesItselfToo : {false, true}) {
        std::optional<CSignaler<int>> signaler(std::in_place);
        Connection first;
        int calls = 0;
        first = signaler->Connect([&](int) {
            signaler.reset();
            if (releasesItselfToo)
                first.reset();
        });
        const Connection second = signaler->Connect([&](int) { ++calls; });
        signaler->Emit(0);
        EXPECT_EQ(calls, 1) << "the emission goes on";
        EXPECT_FALSE(signaler.has_value());
    }
}

TEST(SignalerReentrancy, TheLastSinkMayEndEverything) {
    std::optional<CSignaler<int>> signaler(std::in_place);
    Connection connection;
    int gone = 0;
    connection = signaler->Connect(
        [&signaler, &connection, held = kq_test::OnDestruction([&gone] { ++gone; })](int) {
            signaler.reset();
            connection.reset();
        });
    signaler->Emit(0);
    EXPECT_EQ(gone, 1);
}

TEST(SignalerReentrancy, ASinkThatReleasesItselfAndThrowsIsGone) {
    CSignaler<int> signaler;
    Connection connection;
    int calls = 0;
    int gone = 0;
    connection = signaler.Connect(
        [&calls, &connection, held = kq_test::OnDestruction([&gone] { ++gone; })](int) {
            ++calls;
            connection.reset();
            throw std::runtime_error("no");
        });
    EXPECT_THROW(signaler.Emit(0), std::runtime_error);
    EXPECT_EQ(gone, 1);
    signaler.Emit(0);
    EXPECT_EQ(calls, 1);
}

TEST(SignalerReentrancy, TheEndOfASinkMayUseTheSignaler) {
    CSignaler<int> signaler;
    int values = 0;
    std::vector<Connection> added;
    Connection connection =
        signaler.Connect([held = kq_test::OnDestruction([&] {
                              added.push_back(signaler.Connect([&](int) { ++values; }));
                              signaler.Emit(0);
                          })](int) {});
    connection.reset();
    EXPECT_EQ(values, 1);
}

TEST(SignalerReentrancy, SinksMayComeAndGoWhileTheyAreToldOfTheEnd) {
    CSignaler<int> signaler;
    std::vector<Connection> connections;
    std::vector<Connection> added;
    std::string told;
    const auto connect = [&](char name) {
        return signaler.Connect([](int) {},
                                [&told, name](const std::exception_ptr&) { told += name; },
                                [&told, name] { told += name; });
    };
    connections.push_back(signaler.Connect([](int) {},
                                           [&](const std::exception_ptr&) {
                                               connections.pop_back();
                                               added.push_back(
                                                   connect('n')); // is told at once, and not again
                                           }));
    connections.push_back(connect('b'));
    connections.push_back(connect('c'));
    signaler.Fail(std::make_exception_ptr(1));
    EXPECT_EQ(told, "nb");
    signaler.Complete();
    EXPECT_EQ(told, "nbbn");
}

} // namespace
