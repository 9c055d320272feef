// A singleton and threads that stand still.
#include <kq/singleton.h>

#include "support/hand_shake.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

// As when a crash is reported: nobody knows what the other threads stand at.
TEST(SingletonBesideStoppedThreads, ASharedCopyIsTakenWhateverAnotherThreadWasStoppedAt) {
    constexpr int stops = 5'000;
    kq::Singleton<int, std::shared_ptr> service;
    const auto instance = std::make_shared<int>(7);
    std::atomic<bool> isOver{false};
    std::atomic<HANDLE> handle{nullptr};
    std::thread writer([&] {
        handle = OpenThread(THREAD_SUSPEND_RESUME, FALSE, GetCurrentThreadId());
        while (!isOver) {
            service = kq::shared_ref<int, std::shared_ptr>(instance);
            service.Reset();
        }
    });
    kq_test::ReturnsInTime("a shared copy while a change is stopped", [&] {
        while (handle == nullptr)
            std::this_thread::yield();
        for (int stop = 0; stop != stops; ++stop) {
            SuspendThread(handle);
            const std::shared_ptr<int> shared = service.GetShared();
            ResumeThread(handle);
            EXPECT_TRUE(shared == nullptr || shared == instance);
        }
    });
    isOver = true;
    writer.join();
    CloseHandle(handle);
    service.Reset();
}

} // namespace
