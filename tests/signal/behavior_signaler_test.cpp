// The current value, and every later one.
#include <kq/signal/behavior_signaler.h>

#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using kq::signal::CBehaviorSignaler;
using kq::signal::Connection;

namespace {

using Values = std::vector<int>;

std::function<void(int)> Recorder(Values& values) {
    return [&values](int value) { values.push_back(value); };
}

TEST(BehaviorSignaler, ANewSinkIsCalledWithTheFirstValueBeforeConnectReturns) {
    CBehaviorSignaler<int> signaler(7);
    Values seen;
    const Connection connection = signaler.Connect(Recorder(seen));
    EXPECT_EQ(seen, Values{7});
}

TEST(BehaviorSignaler, ANewSinkIsCalledWithTheLastValueAndThenWithEveryLaterOne) {
    CBehaviorSignaler<int> signaler(1);
    signaler.Emit(2);
    signaler.Emit(3);
    Values seen;
    const Connection connection = signaler.Connect(Recorder(seen));
    signaler.Emit(4);
    signaler.Emit(4);
    EXPECT_EQ(seen, (Values{3, 4, 4}));
}

TEST(BehaviorSignaler, AReplayCallsOnlyTheNewSink) {
    CBehaviorSignaler<int> signaler(1);
    Values first;
    Values second;
    const Connection one = signaler.Connect(Recorder(first));
    const Connection two = signaler.Connect(Recorder(second));
    EXPECT_EQ(first, Values{1});
}

TEST(BehaviorSignaler, TheValueIsStoredBeforeAnySinkIsCalled) {
    CBehaviorSignaler<int> signaler(1);
    Values nested;
    const Connection connection = signaler.Connect([&](int value) {
        if (value == 2)
            const Connection late = signaler.Connect(Recorder(nested));
    });
    signaler.Emit(2);
    EXPECT_EQ(nested, Values{2});
}

TEST(BehaviorSignaler, AnEmptyValueCallbackThrowsWhenAValueIsEmittedAndNotEarlier) {
    CBehaviorSignaler<int> signaler(1);
    Connection connection = signaler.Connect(std::function<void(int)>());
    EXPECT_THROW(signaler.Emit(2), std::bad_function_call);
    connection.reset();
    Values seen;
    const Connection late = signaler.Connect(Recorder(seen));
    EXPECT_EQ(seen, Values{2});
}

TEST(BehaviorSignaler, ASinkThatThrowsAtItsReplayIsNotConnected) {
    CBehaviorSignaler<int> signaler(1);
    int calls = 0;
    int gone = 0;
    EXPECT_THROW(
        signaler.Connect([&calls, held = kq_test::OnDestruction([&gone] { ++gone; })](int) {
            ++calls;
            throw std::runtime_error("no");
        }),
        std::runtime_error);
    EXPECT_EQ(gone, 1);
    signaler.Emit(2);
    EXPECT_EQ(calls, 1);
}

TEST(BehaviorSignaler, ASinkThatThrowsLeavesTheNewValueBehind) {
    CBehaviorSignaler<int> signaler(1);
    Connection broken = signaler.Connect([](int value) {
        if (value == 2)
            throw std::runtime_error("no");
    });
    EXPECT_THROW(signaler.Emit(2), std::runtime_error);
    Values seen;
    const Connection connection = signaler.Connect(Recorder(seen));
    EXPECT_EQ(seen, Values{2});
}

TEST(BehaviorSignaler, ASinkHearsOfWhatItEmitsInItsReplay) {
    CBehaviorSignaler<int> signaler(1);
    Values seen;
    const Connection connection = signaler.Connect([&](int value) {
        seen.push_back(value);
        if (value == 1) {
            signaler.Emit(2);
            signaler.Emit(3);
        }
    });
    EXPECT_EQ(seen, (Values{1, 3})) << "the current value, and then the newest";
    signaler.Emit(4);
    EXPECT_EQ(seen, (Values{1, 3, 4}));
}

TEST(BehaviorSignaler, ASinkThatAlwaysEmitsInItsReplayIsConnectedInTheEnd) {
    CBehaviorSignaler<int> signaler(0);
    int calls = 0;
    int depth = 0;
    const Connection connection = signaler.Connect([&](int value) {
        ++calls;
        if (++depth == 1 && value >= 0)
            signaler.Emit(value + 1);
        --depth;
    });
    EXPECT_GT(calls, 1);
    EXPECT_LT(calls, 1'000);
    const int before = calls;
    signaler.Emit(-1);
    EXPECT_EQ(calls, before + 1);
}

TEST(BehaviorSignaler, StoringAloneCallsNobody) {
    CBehaviorSignaler<int> signaler(1);
    EXPECT_FALSE(signaler.Store(2));
    Values early;
    const Connection first = signaler.Connect(Recorder(early));
    const auto audience = signaler.Store(3);
    EXPECT_TRUE(audience);
    EXPECT_EQ(early, Values{2});
    Values late;
    const Connection second = signaler.Connect(Recorder(late));
    EXPECT_EQ(late, Values{3});
    signaler.Deliver(3, audience);
    EXPECT_EQ(early, (Values{2, 3}));
    EXPECT_EQ(late, Values{3}) << "it was not there when the value was stored, and has it already";
}

TEST(BehaviorSignaler, DeliveriesThatOvertakeOneAnotherLeaveTheNewerValue) {
    CBehaviorSignaler<int> signaler(0);
    Values seen;
    const Connection connection = signaler.Connect(Recorder(seen));
    const auto older = signaler.Store(1);
    const auto newer = signaler.Store(2);
    signaler.Deliver(2, newer);
    signaler.Deliver(1, older);
    EXPECT_EQ(seen, (Values{0, 2, 1}));
    Values late;
    const Connection second = signaler.Connect(Recorder(late));
    EXPECT_EQ(late, Values{2});
}

TEST(BehaviorSignaler, TellsOfItsEndAfterTheLastValue) {
    CBehaviorSignaler<int> signaler(1);
    std::string told;
    const auto connect = [&] {
        return signaler.Connect([&](int) { told += 'v'; },
                                [&](const std::exception_ptr&) { told += 'f'; },
                                [&] { told += 'c'; });
    };
    const Connection first = connect();
    signaler.Fail(std::make_exception_ptr(1));
    signaler.Complete();
    EXPECT_EQ(told, "vfc");
    const Connection late = connect();
    EXPECT_EQ(told, "vfcvfc");
}

} // namespace
