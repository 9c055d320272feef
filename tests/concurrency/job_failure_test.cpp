// How a job's failure reaches those who wait, and that everything it captured is gone by then.
#include <kq/concurrency/job_queue.h>

#include "support/hand_shake.h"
#include "support/on_destruction.h"

#include <gtest/gtest.h>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>

using namespace kq::concurrency;

namespace kq_test {

class Speechless : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

class MoreSpeechless final : public Speechless {};

} // namespace kq_test

namespace {

// A failure is recorded in the same way whoever runs the job.
class ByPool {
public:
    CJobTicket Run(const Job& job) { return pool_.Start(job); }

private:
    CThreadPool pool_;
};

class ByQueue {
public:
    CJobTicket Run(const Job& job) { return queue_.Queue(job); }

private:
    CJobQueue queue_{std::make_shared<CThreadPool>(2), 1};
};

template <class Executor>
class JobFailure : public testing::Test {
protected:
    std::optional<std::string> TextOf(const Job& job) {
        std::optional<std::string> error;
        executor.Run(job).Wait(error);
        return error;
    }

    Executor executor;
};
using Executors = testing::Types<ByPool, ByQueue>;
TYPED_TEST_SUITE(JobFailure, Executors, );

TYPED_TEST(JobFailure, TheTextIsWhatTheExceptionSays) {
    EXPECT_EQ(this->TextOf([] { throw std::runtime_error("x"); }), "x");
    EXPECT_EQ(this->TextOf([] { throw std::logic_error(""); }), "");
}

TYPED_TEST(JobFailure, WhatIsNoExceptionIsUnknown) {
    EXPECT_EQ(this->TextOf([] { throw 7; }), "unknown exception");
    EXPECT_EQ(this->TextOf([] { throw "text"; }), "unknown exception");
    EXPECT_EQ(this->TextOf([] { throw std::string("text"); }), "unknown exception");
}

TYPED_TEST(JobFailure, AnExceptionWithoutTextGivesTheNameOfItsDynamicType) {
    EXPECT_EQ(this->TextOf([] { throw kq_test::Speechless(); }),
              typeid(kq_test::Speechless).name());
    EXPECT_EQ(this->TextOf([] { throw kq_test::MoreSpeechless(); }),
              typeid(kq_test::MoreSpeechless).name());
}

TYPED_TEST(JobFailure, AnEmptyJobFailsAsAnEmptyFunctionDoes) {
    EXPECT_EQ(this->TextOf(Job()), std::bad_function_call().what());
    const CJobTicket ticket = this->executor.Run(Job());
    EXPECT_THROW(ticket.Wait(), std::bad_function_call);
}

TYPED_TEST(JobFailure, TheExceptionItselfIsRethrown) {
    const CJobTicket ticket = this->executor.Run([] { throw 7; });
    try {
        ticket.Wait();
        ADD_FAILURE() << "nothing was thrown";
    } catch (int number) {
        EXPECT_EQ(number, 7);
    }
}

TYPED_TEST(JobFailure, TheNextJobOfTheThreadIsNotConcerned) {
    this->TextOf([] { throw 7; });
    EXPECT_EQ(this->TextOf([] {}), std::nullopt);
}

// The token's end is slow, so that a waiter that was woken too early would overtake it.
TYPED_TEST(JobFailure, WhatTheJobCapturedIsGoneBeforeAWaiterWakes) {
    for (const bool fails : {false, true}) {
        for (int round = 0; round != 50; ++round) {
            kq_test::Event go;
            std::atomic<bool> isGone{false};
            auto token = kq_test::OnDestruction([&] {
                for (int i = 0; i != 100; ++i)
                    std::this_thread::yield();
                isGone = true;
            });
            const CJobTicket ticket = this->executor.Run([token, &go, fails] {
                go.Wait();
                if (fails)
                    throw std::runtime_error("x");
            });
            token.reset();
            go.Set();
            std::optional<std::string> error;
            ticket.Wait(error);
            ASSERT_TRUE(isGone) << (fails ? "failed job" : "done job");
        }
    }
}

TYPED_TEST(JobFailure, WhatTheExceptionHoldsLivesAsLongAsATicketAndNotMuchLonger) {
    struct Holder {
        std::shared_ptr<void> token;
    };
    kq_test::Event gone;
    CJobTicket ticket =
        this->executor.Run([&] { throw Holder{kq_test::OnDestruction([&] { gone.Set(); })}; });
    std::optional<std::string> error;
    ticket.Wait(error);
    EXPECT_FALSE(gone.IsSet());
    ticket = CJobTicket();
    // The thread that ran the job may still be about to let go of it.
    gone.Wait("the end of an exception");
}

} // namespace
