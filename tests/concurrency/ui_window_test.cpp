// The hidden window of a UI queue, and the class that all of them share.
#include <kq/concurrency/ui_job_queue.h>

#include "support/hand_shake.h"
#include "support/ui_messages.h"
#include "support/ui_windows.h"
#include "support/window_refusal.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace kq::concurrency;
using kq_test::IsWaiting;
using kq_test::NewUIWindow;
using kq_test::ReturnsInTime;
using kq_test::uiWindowClass;
using kq_test::UIWindows;
using kq_test::wakeMessage;
using kq_test::WindowRefusal;

namespace {

bool IsClassRegistered() {
    WNDCLASSW description{};
    return GetClassInfoW(GetModuleHandleW(nullptr), uiWindowClass, &description) != FALSE;
}

TEST(UIWindow, IsAMessageOnlyWindowOfTheUIThread) {
    std::optional<CUIJobQueue> queue;
    const HWND window = NewUIWindow([&] { queue.emplace(); });
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(GetWindowThreadProcessId(window, nullptr), GetCurrentThreadId());
    EXPECT_EQ(GetWindowTextLengthW(window), 0);
    EXPECT_EQ(GetMenu(window), nullptr);
    EXPECT_EQ(IsWindowVisible(window), FALSE);
    EXPECT_EQ(reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(window, GWLP_HINSTANCE)),
              GetModuleHandleW(nullptr));
    queue.reset();
    EXPECT_EQ(IsWindow(window), FALSE);
}

TEST(UIWindow, HasTheClassThatHostsKnow) {
    const CUIJobQueue queue;
    WNDCLASSW description{};
    ASSERT_NE(GetClassInfoW(GetModuleHandleW(nullptr), uiWindowClass, &description), FALSE);
    EXPECT_EQ(description.style, 0u);
    EXPECT_EQ(description.cbClsExtra, 0);
    EXPECT_EQ(description.cbWndExtra, 8);
    EXPECT_EQ(description.hInstance, GetModuleHandleW(nullptr));
    EXPECT_EQ(description.hIcon, nullptr);
    EXPECT_EQ(description.hCursor, nullptr);
    EXPECT_EQ(description.hbrBackground, nullptr);
    EXPECT_EQ(description.lpszMenuName, nullptr);
}

TEST(UIWindow, IsOfTheOneClassForAllQueuesOnAllThreads) {
    const auto classOf = [] {
        std::optional<CUIJobQueue> queue;
        const HWND window = NewUIWindow([&] { queue.emplace(); });
        EXPECT_NE(GetWindowLongPtrW(window, 0), 0);
        return GetClassLongW(window, GCW_ATOM);
    };
    const DWORD here = classOf();
    DWORD there = 0;
    std::thread([&] { there = classOf(); }).join();
    EXPECT_NE(here, 0u);
    EXPECT_EQ(here, there);
}

TEST(UIWindow, OfTheMainThreadIsThereFromTheStart) {
    const std::vector<HWND> windows = UIWindows();
    ASSERT_EQ(windows.size(), 1u);
    EXPECT_EQ(GetWindowThreadProcessId(windows.front(), nullptr), GetCurrentThreadId());
    EXPECT_TRUE(IsClassRegistered());
}

TEST(UIWindow, PassesMessagesOfOthersToTheSystem) {
    std::optional<CUIJobQueue> queue;
    const HWND window = NewUIWindow([&] { queue.emplace(); });
    EXPECT_NE(SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"text")), FALSE);
    EXPECT_EQ(GetWindowTextLengthW(window), 4);
    EXPECT_EQ(SendMessageW(window, wakeMessage, 0, 0), 0);
    EXPECT_EQ(SendMessageW(window, wakeMessage + 1, 0, 0), 0);
    EXPECT_EQ(SendMessageW(window, WM_TIMER, 2, 0), 0);
}

TEST(UIWindow, RunsNothingForATimerOfOthers) {
    std::optional<CUIJobQueue> queue;
    const HWND window = NewUIWindow([&] { queue.emplace(); });
    bool hasRun = false;
    queue->Queue([&] { hasRun = true; }, inUIAsync);
    SendMessageW(window, WM_TIMER, 2, 0);
    EXPECT_FALSE(hasRun);
    SendMessageW(window, WM_TIMER, 1, 0);
    EXPECT_TRUE(hasRun);
}

TEST(UIWindow, MayBeMissing) {
    std::optional<CUIJobQueue> queue;
    {
        const WindowRefusal refusal;
        ASSERT_EQ(NewUIWindow([&] { queue.emplace(); }), nullptr);
    }
    bool hasRun = false;
    queue->Queue([&] { hasRun = true; });
    EXPECT_TRUE(hasRun);
    queue->Pump();
}

// A message for no window reaches the calling thread, and there nobody.
TEST(UIWindow, ThatIsMissingIsSentNothing) {
    std::optional<CUIJobQueue> queue;
    {
        const WindowRefusal refusal;
        queue.emplace();
    }
    std::vector<CJobTicket> tickets;
    int ran = 0;
    tickets.push_back(queue->Queue([&] { ++ran; }, inUIAsync));
    std::thread([&] {
        tickets.push_back(queue->Queue([&] { ++ran; }));
        EXPECT_FALSE(IsWaiting(nullptr, wakeMessage));
    }).join();
    const CJobTicket failed = queue->Queue([] { throw 1; });
    tickets.push_back(queue->Queue([&] { ++ran; }, dependsOn(failed)));
    EXPECT_FALSE(IsWaiting(nullptr, wakeMessage));
    queue->Pump();
    EXPECT_EQ(ran, 0);
    EXPECT_TRUE(queue->Remove(tickets.back()));
    queue.reset();
    for (const CJobTicket& ticket : tickets)
        EXPECT_TRUE(ticket.Wait(0));
    EXPECT_EQ(ran, 0);
}

TEST(UIWindow, ThatIsMissingLeavesTheMessagesOfTheThreadAlone) {
    std::optional<CUIJobQueue> queue;
    {
        const WindowRefusal refusal;
        queue.emplace();
    }
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    queue->Pump();
    MSG message{};
    EXPECT_NE(PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE), FALSE);
}

// The host's hooks run while a window is destroyed, and may use the queue: no lock is held then.
TEST(UIWindow, IsDestroyedOutsideTheLockOfTheQueue) {
    static CUIJobQueue* closing = nullptr;
    static bool wasUsed = false;
    struct Hook {
        static LRESULT CALLBACK UseQueue(int code, WPARAM wParam, LPARAM lParam) {
            if (code == HCBT_DESTROYWND && closing != nullptr) {
                EXPECT_TRUE(closing->Queue([] {}, inUIAsync).Wait(0));
                wasUsed = true;
            }
            return CallNextHookEx(nullptr, code, wParam, lParam);
        }
    };
    ReturnsInTime("the end of a queue", [] {
        const HHOOK hook = SetWindowsHookExW(WH_CBT, Hook::UseQueue, nullptr, GetCurrentThreadId());
        std::optional<CUIJobQueue> queue;
        queue.emplace();
        closing = &*queue;
        queue.reset();
        closing = nullptr;
        UnhookWindowsHookEx(hook);
    });
    EXPECT_TRUE(wasUsed);
}

TEST(UIWindow, ThatAHookKeepsFromItsEndKnowsItsQueueNoMore) {
    ReturnsInTime("a thread with a window that stays", [] {
        std::optional<CUIJobQueue> queue;
        const HWND window = NewUIWindow([&] { queue.emplace(); });
        queue->Queue([] {}, inUIAsync);
        {
            const WindowRefusal refusal;
            queue.reset();
        }
        ASSERT_NE(IsWindow(window), FALSE);
        EXPECT_EQ(SendMessageW(window, wakeMessage, 0, 0), 0);
        EXPECT_EQ(SendMessageW(window, WM_TIMER, 1, 0), 0);
        DestroyWindow(window);
    });
}

} // namespace
