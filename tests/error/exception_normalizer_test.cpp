#include <kq/error/exception_normalizer.h>

#include "support/hand_shake.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

using kq::error::ExceptionNormalizer;
using kq::error::exceptionNormalizer;
using Handle = boost::shared_ptr<boost::signals2::scoped_connection>;

namespace {

// The application's own.
class Problem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Normalizing : public testing::Test {
protected:
    // Knows no exception.
    Handle AddLetter(char letter) {
        return normalizer->AddNormalizer([this, letter] { called += letter; });
    }
    // Knows exceptions of the type `Foreign`.
    template <class Foreign>
    Handle AddTranslation(char letter) {
        return normalizer->AddNormalizer([this, letter] {
            called += letter;
            try {
                throw;
            } catch (const Foreign& error) {
                throw Problem(std::string(1, letter) + ": " + error.what());
            } catch (...) {
                return;
            }
        });
    }
    // What leaves the typical catch-all block around a throw of `exception`.
    template <class Exception>
    void Rethrow(const Exception& exception) {
        try {
            throw exception;
        } catch (...) {
            normalizer->NormalizeCurrentException();
            throw;
        }
    }

    kq::shared_ref<ExceptionNormalizer, boost::shared_ptr> normalizer =
        ExceptionNormalizer::Create();
    std::string called;
};

TEST_F(Normalizing, WithNobodyConnectedLeavesTheExceptionAsItIs) {
    EXPECT_EQ(ThrownText<std::range_error>([&] { Rethrow(std::range_error("as it was")); }),
              "as it was");
}

TEST_F(Normalizing, GivesTheExceptionOfTheFirstThatKnowsIt) {
    const Handle a = AddLetter('A');
    const Handle b = AddTranslation<std::logic_error>('B');
    const Handle c = AddTranslation<std::logic_error>('C');
    EXPECT_EQ(ThrownText<Problem>([&] { Rethrow(std::logic_error("foreign")); }), "B: foreign");
    EXPECT_EQ(called, "AB");
}

TEST_F(Normalizing, TriesThoseBehindOneThatDoesNotKnowTheException) {
    const Handle a = AddTranslation<std::logic_error>('A');
    const Handle b = AddTranslation<std::range_error>('B');
    const Handle c = AddLetter('C');
    EXPECT_EQ(ThrownText<Problem>([&] { Rethrow(std::range_error("foreign")); }), "B: foreign");
    EXPECT_EQ(called, "AB");
}

TEST_F(Normalizing, LeavesAnExceptionThatNobodyKnowsAsItIs) {
    const Handle a = AddTranslation<std::logic_error>('A');
    const Handle b = AddTranslation<std::range_error>('B');
    EXPECT_EQ(ThrownText<std::bad_alloc>([&] { Rethrow(std::bad_alloc()); }),
              std::bad_alloc().what());
    EXPECT_EQ(called, "AB");
}

TEST_F(Normalizing, LeavesTheCaughtExceptionToTheCatchBlock) {
    const Handle a = AddLetter('A');
    try {
        throw std::range_error("mine to handle");
    } catch (const std::range_error& error) {
        normalizer->NormalizeCurrentException();
        EXPECT_EQ(error.what(), std::string("mine to handle"));
    }
    EXPECT_EQ(called, "A");
}

TEST_F(Normalizing, NoLongerTriesOneWhoseHandleWasReleased) {
    Handle a = AddTranslation<std::logic_error>('A');
    const Handle b = AddTranslation<std::logic_error>('B');
    Handle copy = a;
    a.reset();
    EXPECT_EQ(ThrownText<Problem>([&] { Rethrow(std::logic_error("x")); }), "A: x");
    copy.reset();
    EXPECT_EQ(ThrownText<Problem>([&] { Rethrow(std::logic_error("x")); }), "B: x");
    AddTranslation<std::bad_alloc>('C');
    EXPECT_EQ(ThrownText<std::bad_alloc>([&] { Rethrow(std::bad_alloc()); }),
              std::bad_alloc().what());
    EXPECT_EQ(called, "ABB");
}

TEST_F(Normalizing, PassesThroughWhateverANormalizerThrows) {
    const Handle a = normalizer->AddNormalizer([] { throw 7; });
    EXPECT_THROW(Rethrow(std::logic_error("x")), int);
}

TEST_F(Normalizing, MayBeDoneByANormalizer) {
    int depth = 0;
    const Handle a = normalizer->AddNormalizer([&] {
        called += 'A';
        if (++depth == 1)
            normalizer->NormalizeCurrentException();
    });
    const Handle b = AddTranslation<std::logic_error>('B');
    EXPECT_EQ(ThrownText<Problem>([&] { Rethrow(std::logic_error("x")); }), "B: x");
    EXPECT_EQ(called, "AAB");
}

TEST_F(Normalizing, MayConnectAndDisconnectNormalizers) {
    Handle late;
    Handle b;
    const Handle a = normalizer->AddNormalizer([&] {
        called += 'A';
        b.reset();
        if (late == nullptr)
            late = AddLetter('L');
    });
    b = AddLetter('B');
    const auto handle = [&] { Rethrow(std::logic_error("x")); };
    EXPECT_THROW(handle(), std::logic_error);
    EXPECT_EQ(called, "A");
    EXPECT_THROW(handle(), std::logic_error);
    EXPECT_EQ(called, "AAL");
}

TEST_F(Normalizing, MayHappenAtTheSameTimeOnTwoThreads) {
    kq_test::Counter inside;
    const Handle a = normalizer->AddNormalizer([&] {
        inside.Add();
        inside.WaitFor(2, "the other thread");
    });
    const Handle b = AddTranslation<std::logic_error>('B');
    std::thread other(
        [&] { EXPECT_THROW(Rethrow(std::range_error("of the other")), std::range_error); });
    EXPECT_THROW(Rethrow(std::range_error("of this one")), std::range_error);
    other.join();
}

TEST_F(Normalizing, EndsWithTheObjectThatIsDestroyedMeanwhile) {
    boost::shared_ptr<ExceptionNormalizer> last = ExceptionNormalizer::Create();
    const Handle a = last->AddNormalizer([&] {
        called += 'A';
        last.reset();
    });
    const Handle b = last->AddNormalizer([&] { called += 'B'; });
    last->NormalizeCurrentException();
    EXPECT_EQ(called, "A");
    EXPECT_FALSE(b->connected());
}

TEST(Normalizer, LetsAHandleOutliveIt) {
    Handle handle;
    {
        const auto normalizer = ExceptionNormalizer::Create();
        handle = normalizer->AddNormalizer([] {});
        EXPECT_TRUE(handle->connected());
    }
    EXPECT_FALSE(handle->connected());
    handle.reset();
}

TEST(Normalizer, IsMadeByCreateOnly) {
    static_assert(!std::is_default_constructible_v<ExceptionNormalizer>);
    static_assert(!std::is_copy_constructible_v<ExceptionNormalizer>);
    static_assert(!std::is_copy_assignable_v<ExceptionNormalizer>);
    static_assert(!std::is_destructible_v<ExceptionNormalizer>);
    static_assert(std::is_same_v<decltype(ExceptionNormalizer::Create()),
                                 kq::shared_ref<ExceptionNormalizer, boost::shared_ptr>>);
    static_assert(std::is_same_v<decltype(exceptionNormalizer),
                                 kq::Singleton<ExceptionNormalizer, boost::shared_ptr>>);
    EXPECT_NE(ExceptionNormalizer::Create().get(), ExceptionNormalizer::Create().get());
}

TEST(Normalizer, OfTheProcessIsThere) {
    ASSERT_NE(exceptionNormalizer.GetShared(), nullptr);
    const Handle handle =
        exceptionNormalizer->AddNormalizer([] { throw Problem("of the process"); });
    EXPECT_EQ(ThrownText<Problem>([] { exceptionNormalizer->NormalizeCurrentException(); }),
              "of the process");
}

} // namespace
