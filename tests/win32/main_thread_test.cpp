// Which thread is the main thread.
#include <kq/concurrency/job_queue.h>
#include <kq/win32/message_pump.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <thread>

using namespace kq::win32;

namespace {

TEST(MainThread, IsTheOneThatLoadedTheLibrary) {
    EXPECT_EQ(GetMainThreadId().value, GetCurrentThreadId());
    EXPECT_TRUE(IsMainThread());
}

TEST(MainThread, IsNoOtherThread) {
    const ThreadId here{GetCurrentThreadId()};
    std::thread([here] {
        EXPECT_FALSE(IsMainThread());
        EXPECT_EQ(GetMainThreadId(), here);
        EXPECT_NE(GetMainThreadId().value, GetCurrentThreadId());
    }).join();
}

TEST(MainThread, IsNoPoolThread) {
    bool isMain = true;
    kq::concurrency::jobQueue->Queue([&isMain] { isMain = IsMainThread(); }).Wait();
    EXPECT_FALSE(isMain);
}

TEST(MainThread, RunsTheUIJobs) {
    bool isMain = false;
    kq::concurrency::jobQueue->Queue([&isMain] { isMain = IsMainThread(); },
                                     kq::concurrency::inUIAsync);
    EXPECT_FALSE(isMain);
    PumpMessageQueue();
    EXPECT_TRUE(isMain);
}

TEST(MainThread, ThreadIdsCompareByValue) {
    static_assert(sizeof(ThreadId) == 4);
    EXPECT_TRUE(ThreadId{1} == ThreadId{1});
    EXPECT_FALSE(ThreadId{1} == ThreadId{2});
    EXPECT_TRUE(ThreadId{1} != ThreadId{2});
    EXPECT_FALSE(ThreadId{1} != ThreadId{1});
}

} // namespace
