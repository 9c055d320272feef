#include <kq/expected.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using kq::bad_expected_access;
using kq::expected;
using kq::unexpected;

namespace {

expected<int, std::string> Half(int number) {
    if (number % 2 != 0)
        return unexpected{std::string("odd")};
    return number / 2;
}

/// The reason in the exception that `action` throws for the value that is not there.
template <class Reason, class Action>
Reason CarriedReason(Action action) {
    try {
        action();
    } catch (const bad_expected_access<Reason>& thrown) {
        return thrown.error();
    }
    return {};
}

TEST(Expected, HoldsAValue) {
    const expected<int, std::string> half = Half(6);
    EXPECT_TRUE(half.has_value());
    EXPECT_TRUE(static_cast<bool>(half));
    EXPECT_EQ(half.value(), 3);
    EXPECT_EQ(*half, 3);
}

TEST(Expected, HoldsTheReasonWhyThereIsNoValue) {
    const expected<int, std::string> half = Half(7);
    EXPECT_FALSE(half.has_value());
    EXPECT_FALSE(static_cast<bool>(half));
    EXPECT_EQ(half.error(), "odd");
}

TEST(Expected, AskingForAMissingValueThrows) {
    using Thrown = bad_expected_access<std::string>;
    expected<int, std::string> half = Half(7);
    EXPECT_EQ(ThrownText<Thrown>([&] { half.value(); }), "Value not available!");
    EXPECT_EQ(ThrownText<Thrown>([&] { std::as_const(half).value(); }), "Value not available!");
    EXPECT_EQ(ThrownText<Thrown>([&] { std::move(half).value(); }), "Value not available!");
}

TEST(Expected, WhatAMissingValueThrowsIsALogicError) {
    EXPECT_THROW(Half(7).value(), std::logic_error);
}

TEST(Expected, WhatAMissingValueThrowsCarriesTheReason) {
    expected<int, std::string> half = Half(7);
    EXPECT_EQ(CarriedReason<std::string>([&] { half.value(); }), "odd");
    EXPECT_EQ(CarriedReason<std::string>([&] { std::as_const(half).value(); }), "odd");
    EXPECT_EQ(half.error(), "odd") << "the reason was copied";
    EXPECT_EQ(CarriedReason<std::string>([&] { std::move(half).value(); }), "odd");
}

TEST(Expected, AReasonThatCannotBeCopiedIsMovedOut) {
    using Reason = std::unique_ptr<int>;
    expected<int, Reason> result(unexpected<Reason>{std::make_unique<int>(5)});
    try {
        std::move(result).value();
        FAIL() << "nothing was thrown";
    } catch (const bad_expected_access<Reason>& thrown) {
        EXPECT_EQ(*thrown.error(), 5);
    }
}

TEST(Expected, TheValueCanBeChanged) {
    expected<int, std::string> half = Half(6);
    half.value() = 4;
    EXPECT_EQ(*half, 4);
    *half = 5;
    EXPECT_EQ(half.value(), 5);
}

TEST(Expected, TheValueCanBeMovedOut) {
    expected<std::unique_ptr<int>, int> box(std::make_unique<int>(1));
    const std::unique_ptr<int> taken = std::move(box).value();
    EXPECT_EQ(*taken, 1);
}

TEST(Expected, ValueAndReasonMayHaveTheSameType) {
    const expected<int, int> value(1);
    const expected<int, int> reason(unexpected<int>{1});
    EXPECT_TRUE(value.has_value());
    EXPECT_FALSE(reason.has_value());
    EXPECT_EQ(reason.error(), 1);
}

TEST(Expected, TheReasonIsConverted) {
    const expected<int, std::string> reason = unexpected<const char*>{"why"};
    EXPECT_EQ(reason.error(), "why");
}

TEST(ExpectedVoid, IsASuccessOrAReason) {
    const expected<void, std::string> success;
    EXPECT_TRUE(success.has_value());
    success.value();
    const expected<void, std::string> failure = unexpected<std::string>{"why"};
    EXPECT_FALSE(static_cast<bool>(failure));
    EXPECT_EQ(failure.error(), "why");
}

TEST(ExpectedVoid, AskingAFailureForItsValueThrowsTheReason) {
    expected<void, std::string> failure = unexpected<std::string>{"why"};
    EXPECT_EQ(ThrownText<bad_expected_access<std::string>>([&] { failure.value(); }),
              "Value not available!");
    EXPECT_EQ(CarriedReason<std::string>([&] { failure.value(); }), "why");
    EXPECT_EQ(failure.error(), "why") << "the reason was copied";
    EXPECT_EQ(CarriedReason<std::string>([&] { std::move(failure).value(); }), "why");
}

TEST(ExpectedVoid, AnExceptionThatIsTheReasonCanBeRethrown) {
    const expected<void, std::exception_ptr> failure =
        unexpected{std::make_exception_ptr(std::out_of_range("the cause"))};
    const auto cause = CarriedReason<std::exception_ptr>([&] { failure.value(); });
    ASSERT_NE(cause, nullptr);
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { std::rethrow_exception(cause); }), "the cause");
}

} // namespace
