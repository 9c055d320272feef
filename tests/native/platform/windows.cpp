// Message-only windows and their messages.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

struct Timer {
    Clock::duration interval{};
    Clock::time_point due;
    bool hasWoken = false; // a waiting thread, since it was last due
};

} // namespace

struct HWND__ {
    DWORD thread = 0;
    std::wstring className;
    WNDPROC procedure = nullptr;
    LONG_PTR extra = 0;
    std::map<UINT_PTR, Timer> timers;
};

namespace {

struct ThreadQueue {
    std::deque<MSG> posted;
    std::optional<int> quit;
    bool hasNew = false; // since the thread last looked
    HOOKPROC hook = nullptr;
};

/// Everything there is of windows, under one lock.
struct Desk {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::wstring, WNDPROC> classes;
    std::vector<HWND> windows;
    std::map<DWORD, ThreadQueue> queues;

    bool Has(HWND window) const {
        return std::find(windows.begin(), windows.end(), window) != windows.end();
    }
    ThreadQueue& OwnQueue() { return queues[GetCurrentThreadId()]; }
};

// Never destroyed: threads may outlive the end of `main`.
Desk& TheDesk() {
    static Desk& desk = *new Desk;
    return desk;
}

/// Which messages a look is for.
struct Filter {
    HWND window; // null: all of the thread
    UINT first;
    UINT last; // with `first` 0: all

    bool Takes(HWND other) const { return window == nullptr || window == other; }
    bool Takes(UINT message) const {
        return (first == 0 && last == 0) || (first <= message && message <= last);
    }
};

std::optional<MSG> FindPosted(ThreadQueue& queue, const Filter& filter, bool remove) {
    const auto found =
        std::find_if(queue.posted.begin(), queue.posted.end(), [&filter](const MSG& posted) {
            return filter.Takes(posted.hwnd) && filter.Takes(posted.message);
        });
    if (found == queue.posted.end())
        return std::nullopt;
    const MSG message = *found;
    if (remove)
        queue.posted.erase(found);
    return message;
}

std::optional<MSG> FindTimer(Desk& desk, const Filter& filter, bool remove) {
    const auto now = Clock::now();
    for (const HWND window : desk.windows) {
        if (window->thread != GetCurrentThreadId() || !filter.Takes(window) ||
            !filter.Takes(WM_TIMER))
            continue;
        for (auto& [id, timer] : window->timers) {
            if (now < timer.due)
                continue;
            if (remove) {
                timer.due = now + timer.interval;
                timer.hasWoken = false;
            }
            return MSG{window, WM_TIMER, id, 0};
        }
    }
    return std::nullopt;
}

std::optional<MSG> Find(Desk& desk, const Filter& filter, bool remove) {
    ThreadQueue& queue = desk.OwnQueue();
    queue.hasNew = false;
    if (const std::optional<MSG> posted = FindPosted(queue, filter, remove))
        return posted;
    if (queue.quit) {
        const MSG quit{nullptr, WM_QUIT, static_cast<WPARAM>(*queue.quit), 0};
        if (remove)
            queue.quit.reset();
        return quit;
    }
    return FindTimer(desk, filter, remove);
}

/// Whether a message has come that the calling thread has not looked at.
bool HasNews(Desk& desk) {
    if (desk.OwnQueue().hasNew)
        return true;
    const auto now = Clock::now();
    bool isDue = false;
    for (const HWND window : desk.windows)
        if (window->thread == GetCurrentThreadId())
            for (auto& [id, timer] : window->timers)
                if (timer.due <= now && !timer.hasWoken)
                    isDue = timer.hasWoken = true;
    return isDue;
}

} // namespace

unsigned short RegisterClassW(const WNDCLASSW* description) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    return desk.classes.emplace(description->lpszClassName, description->lpfnWndProc).second ? 1
                                                                                             : 0;
}

BOOL UnregisterClassW(LPCWSTR name, HINSTANCE /*owner*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    return desk.classes.erase(name) != 0 ? TRUE : FALSE;
}

HWND CreateWindowExW(DWORD /*extendedStyle*/, LPCWSTR className, LPCWSTR /*title*/, DWORD /*style*/,
                     int /*x*/, int /*y*/, int /*width*/, int /*height*/, HWND /*parent*/,
                     void* /*menu*/, HINSTANCE /*owner*/, void* /*parameter*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    const auto found = desk.classes.find(className);
    if (found == desk.classes.end())
        return nullptr;
    desk.windows.push_back(new HWND__{GetCurrentThreadId(), className, found->second, 0, {}});
    return desk.windows.back();
}

BOOL DestroyWindow(HWND window) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (!desk.Has(window) || window->thread != GetCurrentThreadId())
        return FALSE;
    auto& posted = desk.OwnQueue().posted;
    posted.erase(std::remove_if(posted.begin(), posted.end(),
                                [window](const MSG& message) { return message.hwnd == window; }),
                 posted.end());
    desk.windows.erase(std::find(desk.windows.begin(), desk.windows.end(), window));
    delete window;
    return TRUE;
}

BOOL IsWindow(HWND window) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    return desk.Has(window) ? TRUE : FALSE;
}

LONG_PTR GetWindowLongPtrW(HWND window, int /*index*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    return desk.Has(window) ? window->extra : 0;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (!desk.Has(window))
        return 0;
    if (index == GWLP_WNDPROC)
        window->procedure = reinterpret_cast<WNDPROC>(value);
    else
        window->extra = value;
    return 0;
}

ULONG_PTR SetClassLongPtrW(HWND window, int /*index*/, LONG_PTR value) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (desk.Has(window))
        desk.classes[window->className] = reinterpret_cast<WNDPROC>(value);
    return 0;
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM /*wParam*/, LPARAM /*lParam*/) {
    if (message == WM_CLOSE)
        DestroyWindow(window);
    return 0;
}

HWND FindWindowExW(HWND /*parent*/, HWND after, LPCWSTR className, LPCWSTR /*title*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    auto from = std::find(desk.windows.begin(), desk.windows.end(), after);
    from = from == desk.windows.end() ? desk.windows.begin() : from + 1;
    const auto found = std::find_if(from, desk.windows.end(), [className](HWND window) {
        return className == nullptr || window->className == className;
    });
    return found == desk.windows.end() ? nullptr : *found;
}

HWND GetAncestor(HWND window, UINT /*flags*/) {
    return IsWindow(window) != FALSE ? HWND_MESSAGE : nullptr;
}

BOOL EnumChildWindows(HWND /*parent*/, WNDENUMPROC visit, LPARAM parameter) {
    Desk& desk = TheDesk();
    const auto windows = [&desk] {
        const std::lock_guard guard(desk.mutex);
        return desk.windows;
    }();
    for (const HWND window : windows)
        if (visit(window, parameter) == FALSE)
            return FALSE;
    return TRUE;
}

int GetClassNameW(HWND window, LPWSTR name, int size) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (!desk.Has(window))
        return 0;
    const std::size_t length = window->className.copy(name, static_cast<std::size_t>(size) - 1);
    name[length] = L'\0';
    return static_cast<int>(length);
}

DWORD GetWindowThreadProcessId(HWND window, DWORD* process) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    *process = GetCurrentProcessId();
    return desk.Has(window) ? window->thread : 0;
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (!desk.Has(window))
        return FALSE;
    ThreadQueue& queue = desk.queues[window->thread];
    queue.posted.push_back({window, message, wParam, lParam});
    queue.hasNew = true;
    desk.changed.notify_all();
    return TRUE;
}

void PostQuitMessage(int exitCode) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    ThreadQueue& queue = desk.OwnQueue();
    queue.quit = exitCode;
    queue.hasNew = true;
}

LRESULT SendMessageTimeoutW(HWND /*window*/, UINT /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/,
                            UINT /*flags*/, UINT /*milliseconds*/, DWORD_PTR* /*result*/) {
    return 0;
}

BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT flags) {
    Desk& desk = TheDesk();
    HOOKPROC hook = nullptr;
    {
        const std::lock_guard guard(desk.mutex);
        const std::optional<MSG> found = Find(desk, {window, first, last}, flags == PM_REMOVE);
        if (!found)
            return FALSE;
        *message = *found;
        hook = desk.OwnQueue().hook;
    }
    if (hook != nullptr)
        hook(HC_ACTION, flags, reinterpret_cast<LPARAM>(message));
    return TRUE;
}

BOOL TranslateMessage(const MSG* /*message*/) { return FALSE; }

LRESULT DispatchMessageW(const MSG* message) {
    Desk& desk = TheDesk();
    WNDPROC procedure = nullptr;
    {
        const std::lock_guard guard(desk.mutex);
        if (!desk.Has(message->hwnd))
            return 0;
        procedure = message->hwnd->procedure;
    }
    return procedure(message->hwnd, message->message, message->wParam, message->lParam);
}

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, void* /*function*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    if (!desk.Has(window))
        return 0;
    const std::chrono::milliseconds interval(milliseconds);
    window->timers[id] = {interval, Clock::now() + interval};
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    return desk.Has(window) && window->timers.erase(id) != 0 ? TRUE : FALSE;
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL /*all*/,
                                DWORD milliseconds, DWORD /*kinds*/) {
    // The objects and the timers tell nobody; they are looked at that often.
    constexpr std::chrono::milliseconds lookAgain(1);
    const auto begin = Clock::now();
    Desk& desk = TheDesk();
    for (;;) {
        if (count != 0 && WaitForSingleObject(objects[0], 0) == WAIT_OBJECT_0)
            return WAIT_OBJECT_0;
        std::unique_lock lock(desk.mutex);
        if (HasNews(desk))
            return WAIT_OBJECT_0 + count;
        if (milliseconds != INFINITE &&
            Clock::now() - begin >= std::chrono::milliseconds(milliseconds))
            return WAIT_TIMEOUT;
        desk.changed.wait_for(lock, lookAgain);
    }
}

HHOOK SetWindowsHookExW(int /*kind*/, HOOKPROC function, HINSTANCE /*owner*/, DWORD thread) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    desk.queues[thread].hook = function;
    return function;
}

BOOL UnhookWindowsHookEx(HHOOK /*hook*/) {
    Desk& desk = TheDesk();
    const std::lock_guard guard(desk.mutex);
    desk.OwnQueue().hook = nullptr;
    return TRUE;
}

LRESULT CallNextHookEx(HHOOK /*hook*/, int /*code*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
    return 0;
}
