#include <windows.h>

#include <kq/thread/thread_names.h>

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using kq::thread::threadNameManager;
using kq::thread::ThreadNameMap;

namespace {

class ThreadNames : public testing::Test {
protected:
    kq::shared_ref<ThreadNameMap, boost::shared_ptr> names = ThreadNameMap::Create();
};

TEST_F(ThreadNames, AThreadNeverNamedHasItsDecimalIdentifierAsName) {
    EXPECT_EQ(names->GetName(4712), "4712");
    EXPECT_EQ(names->GetName(0), "0");
    EXPECT_EQ(names->GetName(0xFFFF'FFFF), "4294967295");
}

TEST_F(ThreadNames, TheDecimalNameIsKept) {
    names->GetName(4712);
    EXPECT_EQ(names->GetName(4712), "4712");
}

TEST_F(ThreadNames, ASetNameReplacesTheDecimalOne) {
    names->GetName(4712);
    names->SetName(4712, "reader");
    EXPECT_EQ(names->GetName(4712), "reader");
}

TEST_F(ThreadNames, ASetNameReplacesAnEarlierOne) {
    names->SetName(1, "first");
    names->SetName(1, "a name that is too long to stand inside the string object itself");
    EXPECT_EQ(names->GetName(1),
              "a name that is too long to stand inside the string object itself");
}

TEST_F(ThreadNames, AnEmptyNameIsAName) {
    names->SetName(1, "");
    EXPECT_EQ(names->GetName(1), "");
}

TEST_F(ThreadNames, ThreadsAreToldApart) {
    names->SetName(1, "one");
    names->SetName(2, "two");
    EXPECT_EQ(names->GetName(1), "one");
    EXPECT_EQ(names->GetName(2), "two");
    EXPECT_EQ(names->GetName(3), "3");
}

TEST_F(ThreadNames, AResetNameIsForgotten) {
    names->SetName(1, "one");
    names->ResetName(1);
    EXPECT_EQ(names->GetName(1), "1");
}

TEST_F(ThreadNames, ResettingAnUnknownThreadDoesNothing) {
    names->SetName(1, "one");
    names->ResetName(2);
    EXPECT_EQ(names->GetName(1), "one");
    EXPECT_EQ(names->GetName(2), "2");
}

TEST_F(ThreadNames, TheCurrentNameIsThatOfTheCallingThread) {
    names->SetCurrentName("main");
    EXPECT_EQ(names->GetName(GetCurrentThreadId()), "main");
    std::thread([&] {
        EXPECT_EQ(names->GetCurrentName(), std::to_string(GetCurrentThreadId()));
        names->SetCurrentName("other");
        EXPECT_EQ(names->GetCurrentName(), "other");
        names->ResetCurrentName();
        EXPECT_EQ(names->GetCurrentName(), std::to_string(GetCurrentThreadId()));
    }).join();
    EXPECT_EQ(names->GetCurrentName(), "main");
}

TEST_F(ThreadNames, MapsAreIndependent) {
    const auto others = ThreadNameMap::Create();
    names->SetName(1, "one");
    EXPECT_EQ(others->GetName(1), "1");
}

TEST_F(ThreadNames, ManyThreadsMayUseOneMapAtOnce) {
    constexpr unsigned long rounds = 2'000;
    constexpr unsigned long sharedId = 1;
    std::atomic<int> surprises = 0;
    std::vector<std::thread> threads;
    for (unsigned long own = 10; own != 14; ++own)
        threads.emplace_back([&, own] {
            const std::string ownName = "thread " + std::to_string(own);
            for (unsigned long round = 0; round != rounds; ++round) {
                names->SetName(own, ownName);
                names->SetName(1000 * own + round, ownName); // makes the table grow
                names->SetName(sharedId, ownName);
                if (names->GetName(own) != ownName || names->GetName(sharedId).empty())
                    ++surprises;
                names->ResetName(own);
                names->ResetName(sharedId);
                if (names->GetName(own) != std::to_string(own))
                    ++surprises;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(surprises, 0);
}

TEST_F(ThreadNames, AreMadeByCreateOnly) {
    static_assert(!std::is_default_constructible_v<ThreadNameMap>);
    static_assert(!std::is_copy_constructible_v<ThreadNameMap>);
    static_assert(std::is_same_v<decltype(threadNameManager),
                                 kq::Singleton<ThreadNameMap, boost::shared_ptr>>);
}

TEST_F(ThreadNames, OfTheProcessAreReachedThroughTheSingleton) {
    const boost::shared_ptr<ThreadNameMap> before = threadNameManager.GetShared();
    threadNameManager = names;
    threadNameManager->SetName(1, "one");
    EXPECT_EQ(names->GetName(1), "one");
    EXPECT_EQ(&threadNameManager.Get(), names.get());
    if (before)
        threadNameManager = before;
    else
        threadNameManager.Reset();
    EXPECT_EQ(threadNameManager.GetShared(), before);
}

} // namespace
