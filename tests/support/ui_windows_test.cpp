// What the tests that look for the windows of UI queues rely on.
#include "support/ui_windows.h"

#include <kq/concurrency/ui_job_queue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using kq::concurrency::CUIJobQueue;
using kq_test::UIWindows;

TEST(UIWindows, AreFoundWhileOthersComeAndGo) {
    HWND mine = nullptr;
    const CUIJobQueue queue;
    for (const HWND window : UIWindows())
        if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId())
            mine = window;
    ASSERT_NE(mine, nullptr);

    std::atomic<bool> isOver = false;
    std::thread coming([&] {
        while (!isOver) {
            const CUIJobQueue comesAndGoes;
        }
    });
    int missed = 0;
    for (int round = 0; round < 2'000; ++round) {
        const std::vector<HWND> found = UIWindows();
        missed += std::find(found.begin(), found.end(), mine) == found.end() ? 1 : 0;
    }
    isOver = true;
    coming.join();
    EXPECT_EQ(missed, 0);
}
