#include <kq/concurrency/job.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

using kq::concurrency::Job;

namespace {

int calls = 0;
void CountCall() { ++calls; }

TEST(Job, CallsTheCallable) {
    int count = 0;
    const Job job = [&] { ++count; };
    job();
    job();
    EXPECT_EQ(count, 2);
}

TEST(Job, TakesWhateverCanBeCalledWithoutArguments) {
    calls = 0;
    const Job fromFunction = CountCall;
    fromFunction();
    const Job fromPointer = &CountCall;
    fromPointer();
    const Job fromStandardFunction = std::function<void()>(CountCall);
    fromStandardFunction();
    EXPECT_EQ(calls, 3);
    static_assert(!std::is_convertible_v<int, Job>);
    static_assert(!std::is_convertible_v<void (*)(int), Job>);
}

TEST(Job, DropsTheResult) {
    int count = 0;
    const Job job = [&] { return ++count; };
    job();
    EXPECT_EQ(count, 1);
}

TEST(Job, CopiesShareNothingButTheMeaning) {
    int last = 0;
    const Job job = [&, own = 0]() mutable { last = ++own; };
    const Job copy = job; // NOLINT(performance-unnecessary-copy-initialization)
    job();
    job();
    copy();
    EXPECT_EQ(last, 1);
}

TEST(Job, AnEmptyOneFailsOnlyWhenItRuns) {
    const Job empty;
    EXPECT_THROW(empty(), std::bad_function_call);
    const Job fromEmptyFunction = std::function<void()>();
    EXPECT_THROW(fromEmptyFunction(), std::bad_function_call);
    const Job fromEmptyFunctionWithResult = std::function<int()>();
    EXPECT_THROW(fromEmptyFunctionWithResult(), std::bad_function_call);
    const Job fromNull = static_cast<void (*)()>(nullptr);
    EXPECT_THROW(fromNull(), std::bad_function_call);
}

TEST(Job, LetsExceptionsThrough) {
    const Job job = [] { throw 7; };
    EXPECT_THROW(job(), int);
}

TEST(Job, AMovedJobTakesTheCallableAlong) {
    auto token = std::make_shared<int>(1);
    Job job = [token] {};
    EXPECT_EQ(token.use_count(), 2);
    Job moved = std::move(job);
    EXPECT_EQ(token.use_count(), 2);
    moved = Job();
    EXPECT_EQ(token.use_count(), 1);
}

} // namespace
