#include <kq/expected.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using kq::expected;
using kq::unexpected;

namespace {

expected<int, std::string> Half(int number) {
    if (number % 2 != 0)
        return unexpected{std::string("odd")};
    return number / 2;
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
    expected<int, std::string> half = Half(7);
    EXPECT_EQ(ThrownText<std::logic_error>([&] { half.value(); }), "Value not available!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { std::as_const(half).value(); }),
              "Value not available!");
    EXPECT_EQ(ThrownText<std::logic_error>([&] { std::move(half).value(); }),
              "Value not available!");
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
    EXPECT_EQ(ThrownText<std::logic_error>([&] { failure.value(); }), "Value not available!");
}

} // namespace
