// Pumping the messages of a window or of a thread.
#include <kq/win32/message_pump.h>

#include "support/hand_shake.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

using kq::win32::PumpMessageQueue;
using kq_test::ReturnsInTime;

namespace {

// A message-only window that hands its messages of the user's range on.
class Window {
public:
    using Handler = std::function<void(UINT, WPARAM)>;

    explicit Window(Handler handler) : handler_(std::move(handler)) {
        WNDCLASSW description{};
        description.lpfnWndProc = Procedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = L"kq test window";
        RegisterClassW(&description);
        handle_ = CreateWindowExW(0, L"kq test window", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE,
                                  nullptr, GetModuleHandleW(nullptr), nullptr);
        SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~Window() { DestroyWindow(handle_); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND Handle() const { return handle_; }
    void Post(UINT message, WPARAM wParam = 0) const { PostMessageW(handle_, message, wParam, 0); }

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* const self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self != nullptr && (message >= WM_APP || message == WM_CHAR || message == WM_TIMER))
            self->handler_(message, wParam);
        return DefWindowProcW(window, message, wParam, lParam);
    }

    const Handler handler_;
    HWND handle_ = nullptr;
};

// The exit codes of the quit messages that wait, which are taken.
std::vector<int> TakeQuitMessages() {
    std::vector<int> codes;
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE)
        if (message.message == WM_QUIT)
            codes.push_back(static_cast<int>(message.wParam));
    return codes;
}

TEST(MessagePump, ReturnsAtOnceWhenNothingIsWaiting) {
    ReturnsInTime("a pump", [] {
        PumpMessageQueue();
        PumpMessageQueue(nullptr);
        const Window window([](UINT, WPARAM) {});
        PumpMessageQueue(window.Handle());
    });
}

TEST(MessagePump, DispatchesEverythingInOrder) {
    std::vector<WPARAM> seen;
    const Window window([&](UINT, WPARAM wParam) { seen.push_back(wParam); });
    std::vector<WPARAM> expected;
    for (WPARAM number = 0; number != 1'000; ++number) {
        window.Post(WM_APP, number);
        expected.push_back(number);
    }
    PumpMessageQueue(window.Handle());
    EXPECT_EQ(seen, expected);
}

TEST(MessagePump, DispatchesWhatTheWindowPostsMeanwhile) {
    int seen = 0;
    HWND handle = nullptr;
    const Window window([&](UINT message, WPARAM) {
        if (++seen != 100)
            PostMessageW(handle, message, 0, 0);
    });
    handle = window.Handle();
    window.Post(WM_APP);
    PumpMessageQueue(handle);
    EXPECT_EQ(seen, 100);
}

TEST(MessagePump, OfAWindowLeavesTheMessagesOfOthers) {
    int first = 0;
    int second = 0;
    const Window one([&](UINT, WPARAM) { ++first; });
    const Window two([&](UINT, WPARAM) { ++second; });
    one.Post(WM_APP);
    two.Post(WM_APP);
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    PumpMessageQueue(one.Handle());
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    MSG message{};
    EXPECT_NE(PeekMessageW(&message, reinterpret_cast<HWND>(-1), WM_APP, WM_APP, PM_REMOVE), FALSE);
    PumpMessageQueue();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(MessagePump, OfTheThreadTakesTheMessagesOfAllItsWindows) {
    for (const bool isNull : {false, true}) {
        int seen = 0;
        const Window one([&](UINT, WPARAM) { ++seen; });
        const Window two([&](UINT, WPARAM) { ++seen; });
        one.Post(WM_APP);
        two.Post(WM_APP);
        PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
        isNull ? PumpMessageQueue(nullptr) : PumpMessageQueue();
        EXPECT_EQ(seen, 2);
        MSG message{};
        EXPECT_EQ(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE), FALSE);
    }
}

TEST(MessagePump, LeavesTheMessagesOfOtherThreads) {
    int seen = 0;
    const Window window([&](UINT, WPARAM) { ++seen; });
    window.Post(WM_APP);
    std::thread([&] {
        PumpMessageQueue();
        PumpMessageQueue(window.Handle());
    }).join();
    EXPECT_EQ(seen, 0);
    PumpMessageQueue();
    EXPECT_EQ(seen, 1);
}

TEST(MessagePump, TranslatesKeysToCharacters) {
    std::vector<WPARAM> characters;
    const Window window([&](UINT message, WPARAM wParam) {
        if (message == WM_CHAR)
            characters.push_back(wParam);
    });
    window.Post(WM_KEYDOWN, VK_RETURN);
    PumpMessageQueue(window.Handle());
    EXPECT_EQ(characters, std::vector<WPARAM>{L'\r'});
}

TEST(MessagePump, HandlesSentMessages) {
    int seen = 0;
    const Window window([&](UINT, WPARAM) { ++seen; });
    kq_test::Event done;
    std::thread sender([&] {
        SendMessageW(window.Handle(), WM_APP, 0, 0);
        done.Set();
    });
    while (!done.IsSet())
        PumpMessageQueue(window.Handle());
    sender.join();
    EXPECT_EQ(seen, 1);
}

TEST(MessagePump, LeavesAQuitMessageToTheLoopAroundIt) {
    int seen = 0;
    const Window window([&](UINT, WPARAM) { ++seen; });
    for (const HWND target : {window.Handle(), static_cast<HWND>(nullptr)}) {
        PostQuitMessage(7);
        PumpMessageQueue(target);
        PumpMessageQueue(target);
        EXPECT_EQ(TakeQuitMessages(), std::vector<int>{7});
    }
    EXPECT_EQ(seen, 0);
}

TEST(MessagePump, GoesOnToTheEndAfterAQuitMessage) {
    std::vector<UINT> seen;
    const Window window([&](UINT message, WPARAM) {
        seen.push_back(message);
        if (message == WM_APP)
            PostQuitMessage(3);
        if (message == WM_APP + 1)
            PostQuitMessage(4);
    });
    window.Post(WM_APP);
    window.Post(WM_APP + 1);
    window.Post(WM_APP + 2);
    PumpMessageQueue();
    EXPECT_EQ(seen, (std::vector<UINT>{WM_APP, WM_APP + 1, WM_APP + 2}));
    EXPECT_EQ(TakeQuitMessages(), std::vector<int>{4});
}

TEST(MessagePump, KeepsAQuitMessageThroughNestedPumps) {
    int seen = 0;
    const Window window([&](UINT message, WPARAM) {
        ++seen;
        if (message == WM_APP)
            PumpMessageQueue();
    });
    PostQuitMessage(5);
    window.Post(WM_APP);
    window.Post(WM_APP + 1);
    ReturnsInTime("a pump on a thread without messages", [] { PumpMessageQueue(); });
    PumpMessageQueue();
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(TakeQuitMessages(), std::vector<int>{5});
}

// A quit message comes before a timer that is due, so the pump has taken it when the timer's
// message runs a loop.
TEST(MessagePump, ShowsTheQuitMessageToALoopInsideWhatItDispatches) {
    bool hasEnded = false;
    const Window window([&](UINT message, WPARAM) {
        if (message != WM_TIMER || hasEnded)
            return;
        MSG next{};
        while (PeekMessageW(&next, nullptr, 0, 0, PM_REMOVE) != FALSE && next.message != WM_QUIT)
            DispatchMessageW(&next);
        if (next.message != WM_QUIT)
            return;
        hasEnded = true;
        PostQuitMessage(static_cast<int>(next.wParam));
    });
    for (const HWND target : {window.Handle(), static_cast<HWND>(nullptr)}) {
        hasEnded = false;
        SetTimer(window.Handle(), 1, USER_TIMER_MINIMUM, nullptr);
        ASSERT_EQ(MsgWaitForMultipleObjects(0, nullptr, FALSE, 30'000, QS_TIMER), WAIT_OBJECT_0);
        PostQuitMessage(6);
        PumpMessageQueue(target);
        KillTimer(window.Handle(), 1);
        EXPECT_TRUE(hasEnded);
        EXPECT_EQ(TakeQuitMessages(), std::vector<int>{6});
    }
}

TEST(MessagePump, EndsTheHostsLoopAfterItRanInside) {
    const Window window([](UINT message, WPARAM) {
        if (message == WM_APP)
            PostQuitMessage(9);
        PumpMessageQueue();
    });
    window.Post(WM_APP);
    window.Post(WM_APP + 1);
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 9u);
    EXPECT_TRUE(TakeQuitMessages().empty());
}

TEST(MessagePump, OfAWindowThatIsGoneReturns) {
    HWND gone = nullptr;
    {
        const Window window([](UINT, WPARAM) {});
        gone = window.Handle();
    }
    ReturnsInTime("a pump", [gone] { PumpMessageQueue(gone); });
    PumpMessageQueue(gone);
}

} // namespace
