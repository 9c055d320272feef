// How a signaler tells that it has failed or that it is complete.
#include <kq/signal/signaler.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

using kq::signal::Connection;
using kq::signal::CSignaler;

namespace {

using OnFailure = std::function<void(std::exception_ptr)>;

const std::exception_ptr failure = std::make_exception_ptr(std::runtime_error("no"));

void Ignore(int /*value*/) {}

TEST(SignalerEnd, TellsEverySinkOfAFailure) {
    CSignaler<int> signaler;
    std::vector<std::exception_ptr> told;
    const OnFailure record = [&told](const std::exception_ptr& error) { told.push_back(error); };
    const Connection first = signaler.Connect(Ignore, record);
    const Connection without = signaler.Connect(Ignore);
    const Connection second = signaler.Connect(Ignore, record);
    Connection gone = signaler.Connect(Ignore, record);
    gone.reset();
    signaler.Fail(failure);
    EXPECT_EQ(told, std::vector<std::exception_ptr>(2, failure));
}

TEST(SignalerEnd, TellsEverySinkOfTheCompletion) {
    CSignaler<int> signaler;
    int told = 0;
    const std::function<void()> count = [&told] { ++told; };
    const Connection first = signaler.Connect(Ignore, {}, count);
    const Connection without = signaler.Connect(Ignore);
    const Connection second = signaler.Connect(Ignore, {}, count);
    Connection gone = signaler.Connect(Ignore, {}, count);
    gone.reset();
    signaler.Complete();
    EXPECT_EQ(told, 2);
}

TEST(SignalerEnd, DoesNothingWithoutSinks) {
    CSignaler<int> signaler;
    signaler.Fail(failure);
    signaler.Complete();
}

TEST(SignalerEnd, ASinkIsToldOfItsOwnKindOfEndOnly) {
    CSignaler<int> signaler;
    std::string told;
    const Connection connection =
        signaler.Connect([&](int) { told += 'v'; }, [&](const std::exception_ptr&) { told += 'f'; },
                         [&] { told += 'c'; });
    signaler.Complete();
    EXPECT_EQ(told, "c");
    signaler.Fail(failure);
    EXPECT_EQ(told, "cf");
    signaler.Emit(0);
    EXPECT_EQ(told, "cfv");
}

TEST(SignalerEnd, CompletesEverySinkAlsoAfterOneThatThrew) {
    CSignaler<int> signaler;
    std::string told;
    const Connection first = signaler.Connect(Ignore, {}, [&] {
        told += 'a';
        throw std::runtime_error("broken");
    });
    const Connection second = signaler.Connect(Ignore, {}, [&] {
        told += 'b';
        throw 1;
    });
    const Connection third = signaler.Connect(Ignore, {}, [&] { told += 'c'; });
    static_assert(noexcept(signaler.Complete()));
    signaler.Complete();
    EXPECT_EQ(told, "abc");
}

TEST(SignalerEnd, WhatASinkThrowsOnAFailureLeavesTheCall) {
    CSignaler<int> signaler;
    int after = 0;
    const Connection first = signaler.Connect(
        Ignore, [](const std::exception_ptr&) { throw std::logic_error("not now"); });
    const Connection second = signaler.Connect(Ignore, [&](const std::exception_ptr&) { ++after; });
    EXPECT_EQ(ThrownText<std::logic_error>([&] { signaler.Fail(failure); }), "not now");
    EXPECT_EQ(after, 0);
}

TEST(SignalerEnd, ALateSinkIsToldAtOnce) {
    CSignaler<int> signaler;
    signaler.Fail(std::make_exception_ptr(std::logic_error("earlier")));
    signaler.Fail(failure);
    std::exception_ptr error;
    int completions = 0;
    const Connection failed = signaler.Connect(
        Ignore, [&](const std::exception_ptr& told) { error = told; }, [&] { ++completions; });
    EXPECT_EQ(error, failure);
    EXPECT_EQ(completions, 0);
    signaler.Complete();
    EXPECT_EQ(completions, 1);
    std::string order;
    const Connection late =
        signaler.Connect([&](int) { order += 'v'; },
                         [&](const std::exception_ptr&) { order += 'f'; }, [&] { order += 'c'; });
    EXPECT_EQ(order, "fc");
    EXPECT_EQ(completions, 1);
}

TEST(SignalerEnd, ALateSinkThatThrowsIsNotConnected) {
    CSignaler<int> signaler;
    signaler.Fail(failure);
    int values = 0;
    EXPECT_THROW(
        signaler.Connect([&](int) { ++values; },
                         [](const std::exception_ptr& error) { std::rethrow_exception(error); }),
        std::runtime_error);
    signaler.Emit(0);
    EXPECT_EQ(values, 0);
}

} // namespace
