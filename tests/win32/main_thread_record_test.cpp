// The record of the main thread, without the library that makes it when it is loaded.
#include "win32/main_thread.h"

#include <kq/win32/message_pump.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <thread>

using namespace kq::win32;

namespace {

TEST(MainThreadRecord, IsMadeOnceAndForGood) {
    EXPECT_EQ(GetMainThreadId().value, 0u);
    EXPECT_FALSE(IsMainThread());
    DWORD first = 0;
    std::thread([&first] {
        first = GetCurrentThreadId();
        RecordMainThread();
        EXPECT_TRUE(IsMainThread());
    }).join();
    RecordMainThread();
    EXPECT_EQ(GetMainThreadId().value, first);
    EXPECT_FALSE(IsMainThread());
}

} // namespace
