#include <windows.h>

#include <kq/error/error_reporter.h>

#include "support/hand_shake.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/function.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

using boost::signals2::scoped_connection;
using kq::error::ErrorReporter;
using kq::error::errorReporter;
using Handle = boost::shared_ptr<scoped_connection>;
using DumpFile = boost::optional<std::wstring>;

namespace {

class Reports : public testing::Test {
protected:
    Handle AddLetter(char letter) {
        return reporter->AddReporter([this, letter] { called += letter; });
    }
    Handle AddSELetter(char letter) {
        return reporter->AddSEReporter([this, letter](unsigned long, EXCEPTION_POINTERS const&,
                                                      DumpFile const&) { called += letter; });
    }
    void ReportSE() { reporter->ReportStructuredException(1, EXCEPTION_POINTERS{}, {}); }

    kq::shared_ref<ErrorReporter, boost::shared_ptr> reporter = ErrorReporter::Create();
    std::string called;
};

TEST_F(Reports, WithNobodyConnectedDoNothing) {
    bool hasGoneOn = false;
    try {
        throw std::runtime_error("reported to nobody");
    } catch (const std::runtime_error& error) {
        reporter->ReportCurrentException();
        hasGoneOn = error.what() == std::string("reported to nobody");
    }
    EXPECT_TRUE(hasGoneOn);
    ReportSE();
}

TEST_F(Reports, CallTheReportersInTheOrderOfConnection) {
    const Handle a = AddLetter('A');
    Handle b = AddLetter('B');
    const Handle c = AddLetter('C');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "ABC");
    b.reset();
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "ABCAC");
    b = AddLetter('B');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "ABCACACB");
}

TEST_F(Reports, OfStructuredExceptionsKeepTheOrderToo) {
    const Handle a = AddSELetter('A');
    Handle b = AddSELetter('B');
    const Handle c = AddSELetter('C');
    ReportSE();
    b.reset();
    ReportSE();
    EXPECT_EQ(called, "ABCAC");
}

TEST_F(Reports, ComeOnlyToTheReportersOfTheirKind) {
    const Handle ofExceptions = AddLetter('e');
    const Handle ofStructured = AddSELetter('s');
    ReportSE();
    EXPECT_EQ(called, "s");
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "se");
}

TEST_F(Reports, LetAReporterRethrowWhatIsBeingHandled) {
    std::string text;
    const Handle handle = reporter->AddReporter([&text] {
        try {
            throw;
        } catch (const std::out_of_range& error) {
            text = error.what();
        }
    });
    try {
        throw std::out_of_range("far out");
    } catch (...) {
        reporter->ReportCurrentException();
        EXPECT_EQ(ThrownText<std::out_of_range>([] { throw; }), "far out");
    }
    EXPECT_EQ(text, "far out");
}

TEST_F(Reports, MayBeMadeOutsideACatchBlock) {
    const Handle handle = AddLetter('A');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "A");
}

TEST_F(Reports, OfStructuredExceptionsPassTheirArgumentsUnchanged) {
    unsigned long code = 0;
    const EXCEPTION_POINTERS* pointers = nullptr;
    DumpFile dumpFile;
    const Handle handle = reporter->AddSEReporter(
        [&](unsigned long theCode, EXCEPTION_POINTERS const& thePointers, DumpFile const& theFile) {
            code = theCode;
            pointers = &thePointers;
            dumpFile = theFile;
        });
    const EXCEPTION_POINTERS given{};
    reporter->ReportStructuredException(EXCEPTION_ACCESS_VIOLATION, given,
                                        std::wstring(L"C:\\dumps\\app.dmp"));
    EXPECT_EQ(code, EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(pointers, &given);
    EXPECT_EQ(dumpFile.value_or(L"none"), L"C:\\dumps\\app.dmp");
    reporter->ReportStructuredException(0, given, boost::none);
    EXPECT_EQ(code, 0ul);
    EXPECT_FALSE(dumpFile);
    reporter->ReportStructuredException(0, given, std::wstring());
    EXPECT_EQ(dumpFile.value_or(L"none"), L"");
}

TEST_F(Reports, DoNotReachAReporterWhoseHandleWasDroppedAtOnce) {
    AddLetter('A');
    AddSELetter('S');
    reporter->ReportCurrentException();
    ReportSE();
    EXPECT_EQ(called, "");
}

TEST_F(Reports, ReachAReporterWhileACopyOfItsHandleIsHeld) {
    Handle first = AddLetter('A');
    Handle second = first;
    first.reset();
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "A");
    second.reset();
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "A");
}

TEST_F(Reports, DoNotReachAReporterThatWasDisconnectedThroughItsHandle) {
    const Handle handle = AddLetter('A');
    EXPECT_TRUE(handle->connected());
    handle->disconnect();
    EXPECT_FALSE(handle->connected());
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "");
}

TEST_F(Reports, EndAtAReporterThatThrows) {
    const Handle a = AddLetter('A');
    const Handle b = reporter->AddReporter([] { throw std::length_error("B gives up"); });
    const Handle c = AddLetter('C');
    const auto report = [&] { reporter->ReportCurrentException(); };
    EXPECT_EQ(ThrownText<std::length_error>(report), "B gives up");
    EXPECT_EQ(called, "A");
    EXPECT_EQ(ThrownText<std::length_error>(report), "B gives up");
    EXPECT_EQ(called, "AA");
    b->disconnect();
    report();
    EXPECT_EQ(called, "AAAC");
}

TEST_F(Reports, OfStructuredExceptionsEndAtAReporterThatThrows) {
    const Handle a = AddSELetter('A');
    const Handle b = reporter->AddSEReporter(
        [](unsigned long, EXCEPTION_POINTERS const&, DumpFile const&) { throw 7; });
    const Handle c = AddSELetter('C');
    EXPECT_THROW(ReportSE(), int);
    EXPECT_EQ(called, "A");
}

TEST_F(Reports, EndAtAnEmptyFunction) {
    const Handle a = AddLetter('A');
    const Handle empty = reporter->AddReporter(boost::function<void()>());
    EXPECT_THROW(reporter->ReportCurrentException(), boost::bad_function_call);
    EXPECT_EQ(called, "A");
}

TEST_F(Reports, ReachAReporterFromTheReportAfterItsConnectionOn) {
    Handle late;
    const Handle a = reporter->AddReporter([&] {
        called += 'A';
        if (late == nullptr)
            late = AddLetter('L');
    });
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "A");
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "AAL");
}

TEST_F(Reports, SkipAReporterThatAnEarlierOneDisconnects) {
    Handle b;
    const Handle a = reporter->AddReporter([&] {
        called += 'A';
        b.reset();
    });
    b = AddLetter('B');
    const Handle c = AddLetter('C');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "AC");
}

TEST_F(Reports, GoOnBehindAReporterThatDisconnectsItself) {
    auto own = std::make_shared<Handle>();
    *own = reporter->AddReporter([this, own] {
        // With the handle goes this function, when it has returned.
        own->reset();
        called += 'A';
    });
    const Handle b = AddLetter('B');
    reporter->ReportCurrentException();
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "ABB");
    EXPECT_EQ(own.use_count(), 1);
}

TEST_F(Reports, MayBeMadeByAReporter) {
    int depth = 0;
    const Handle a = reporter->AddReporter([&] {
        called += 'A';
        if (++depth < 3)
            reporter->ReportCurrentException();
        --depth;
    });
    const Handle b = AddLetter('B');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "AAABBB");
}

TEST_F(Reports, OfOneKindMayBeMadeByAReporterOfTheOther) {
    const Handle structured = AddSELetter('S');
    const Handle a = reporter->AddReporter([&] { ReportSE(); });
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "S");
}

TEST_F(Reports, MayRunAtTheSameTimeOnTwoThreads) {
    kq_test::Counter inside;
    const Handle handle = reporter->AddReporter([&] {
        inside.Add();
        inside.WaitFor(2, "the other report");
    });
    std::thread other([&] { reporter->ReportCurrentException(); });
    reporter->ReportCurrentException();
    other.join();
    EXPECT_EQ(inside.Value(), 2u);
}

TEST_F(Reports, LetOtherThreadsConnectDisconnectAndReportMeanwhile) {
    Handle b;
    const Handle a = reporter->AddReporter([&] {
        called += 'A';
        if (called.size() > 1)
            return;
        std::thread([&] {
            b.reset();
            const Handle ofThread = AddLetter('T');
            reporter->ReportCurrentException();
        }).join();
    });
    b = AddLetter('B');
    reporter->ReportCurrentException();
    EXPECT_EQ(called, "AAT");
}

TEST_F(Reports, EndWithTheReporterObjectThatIsDestroyedMeanwhile) {
    boost::shared_ptr<ErrorReporter> last = ErrorReporter::Create();
    Handle released = last->AddReporter([&] { called += 'A'; });
    const Handle b = last->AddReporter([&] {
        called += 'B';
        released.reset();
        last.reset();
    });
    const Handle c = last->AddReporter([&] { called += 'C'; });
    last->ReportCurrentException();
    EXPECT_EQ(called, "AB");
    EXPECT_FALSE(c->connected());
}

TEST(Reporter, LetsAHandleOutliveIt) {
    Handle handle;
    {
        const auto reporter = ErrorReporter::Create();
        handle = reporter->AddReporter([] {});
        EXPECT_TRUE(handle->connected());
    }
    EXPECT_FALSE(handle->connected());
    handle->disconnect();
    handle.reset();
}

TEST(Reporter, DestroysItsFunctionsWithTheirHandlesOrWithItself) {
    const auto first = std::make_shared<int>();
    const auto second = std::make_shared<int>();
    Handle handle;
    {
        const auto reporter = ErrorReporter::Create();
        handle = reporter->AddReporter([first] {});
        EXPECT_EQ(first.use_count(), 2);
        handle.reset();
        EXPECT_EQ(first.use_count(), 1);
        handle = reporter->AddReporter([second] {});
    }
    EXPECT_EQ(second.use_count(), 1);
}

TEST(Reporter, IsMadeByCreateOnly) {
    static_assert(!std::is_default_constructible_v<ErrorReporter>);
    static_assert(!std::is_copy_constructible_v<ErrorReporter>);
    static_assert(!std::is_copy_assignable_v<ErrorReporter>);
    static_assert(!std::is_destructible_v<ErrorReporter>);
    static_assert(std::is_same_v<decltype(ErrorReporter::Create()),
                                 kq::shared_ref<ErrorReporter, boost::shared_ptr>>);
    static_assert(
        std::is_same_v<decltype(errorReporter), kq::Singleton<ErrorReporter, boost::shared_ptr>>);
    EXPECT_NE(ErrorReporter::Create().get(), ErrorReporter::Create().get());
}

TEST(Reporter, OfTheProcessIsThere) {
    ASSERT_NE(errorReporter.GetShared(), nullptr);
    bool isCalled = false;
    const Handle handle = errorReporter->AddReporter([&] { isCalled = true; });
    errorReporter->ReportCurrentException();
    EXPECT_TRUE(isCalled);
}

} // namespace
