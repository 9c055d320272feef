// The library is freed, and loaded again, while the process goes on.
#include <process/flag.h>
#include <process/scenario.h>
#include <process/ui_plugin.h>
#include <support/handle_level.h>
#include <support/ui_messages.h>
#include <support/ui_windows.h>

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <thread>

using kq_test::DispatchUntil;
using kq_test::UIWindows;
using scenario::Close;

namespace {

bool IsMapped() { return GetModuleHandleW(L"kq.dll") != nullptr; }

bool IsClassRegistered() {
    WNDCLASSW description{};
    return GetClassInfoW(GetModuleHandleW(nullptr), kq_test::uiWindowClass, &description) != FALSE;
}

// The library in the process, from the calling thread.
class User {
public:
    User() : module_(LoadLibraryW(ui_plugin::file)) {
        CHECK(module_ != nullptr);
        CHECK(IsMapped());
    }

    void Free() const {
        CHECK(FreeLibrary(module_) != FALSE);
        CHECK(!IsMapped());
    }

    void QueueUIJob(long& counter) const {
        Function<ui_plugin::QueueUIJob>("QueueUIJob")(&counter);
    }
    void QueueWaitingUIJob(long& counter) const {
        Function<ui_plugin::QueueWaitingUIJob>("QueueWaitingUIJob")(&counter);
    }
    void MakeUIQueue() const { Function<ui_plugin::MakeUIQueue>("MakeUIQueue")(); }
    bool IsMainThread() const { return Function<ui_plugin::IsMainThread>("IsMainThread")(); }
    void Shutdown() const { Function<ui_plugin::Shutdown>("Shutdown")(); }
    bool Startup() const { return Function<ui_plugin::Startup>("Startup")(); }

    /// On the UI thread: whether jobs reach it.
    bool RunsUIJobs() const {
        long ran = 0;
        QueueUIJob(ran);
        std::thread([&] { QueueUIJob(ran); }).join();
        DispatchUntil([&ran] { return ran == 2; }, "UI jobs");
        return true;
    }

private:
    template <class Type>
    Type* Function(const char* name) const {
        auto* const address = reinterpret_cast<void*>(GetProcAddress(module_, name));
        CHECK(address != nullptr);
        return reinterpret_cast<Type*>(address);
    }

    HMODULE module_;
};

void DispatchWhatIsThere() {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE)
        DispatchMessageW(&message);
}

} // namespace

SCENARIO(freeing_removes_the_window_and_its_class) {
    CHECK(!IsMapped());
    const User user;
    CHECK(UIWindows().size() == 1);
    CHECK(IsClassRegistered());
    CHECK(user.IsMainThread());
    CHECK(user.RunsUIJobs());
    user.Free();
    CHECK(UIWindows().empty());
    CHECK(!IsClassRegistered());
    Close();
}

SCENARIO(the_library_can_be_loaded_and_freed_again_and_again) {
    const auto live = [] {
        const User user;
        CHECK(UIWindows().size() == 1);
        CHECK(user.RunsUIJobs());
        user.Free();
        CHECK(UIWindows().empty());
        CHECK(!IsClassRegistered());
    };
    // Kept, because Wine's loses handles of its own with every load.
    CHECK(LoadLibraryW(L"winmm.dll") != nullptr);
    live();
    constexpr std::uintptr_t rounds = 30;
    const std::uintptr_t before = HandleLevel();
    for (std::uintptr_t round = 0; round != rounds; ++round)
        live();
    // Less than one a round: a thread that has just ended may give its handles back a little later.
    CHECK(HandleLevel() < before + rounds);
    Close();
}

SCENARIO(freeing_after_shutdown) {
    const User user;
    user.Shutdown();
    CHECK(UIWindows().empty());
    CHECK(!IsClassRegistered());
    user.Free();
    const User again;
    again.Shutdown();
    CHECK(again.Startup());
    CHECK(again.RunsUIJobs());
    again.Free();
    CHECK(UIWindows().empty());
    Close();
}

SCENARIO(freeing_lets_go_of_the_ui_jobs_that_wait) {
    long gone = 0;
    long ran = 0;
    const User user;
    user.QueueWaitingUIJob(gone);
    DispatchWhatIsThere();
    user.QueueWaitingUIJob(gone);
    user.QueueUIJob(ran);
    CHECK(gone == 0);
    user.Free();
    CHECK(gone == 2);
    CHECK(ran == 0);
    DispatchWhatIsThere();
    Close();
}

SCENARIO(freeing_with_a_ui_queue_that_the_freed_library_owns) {
    for (int round = 0; round != 3; ++round) {
        const User user;
        user.MakeUIQueue();
        CHECK(UIWindows().size() == 2);
        user.Free();
        CHECK(UIWindows().empty());
        CHECK(!IsClassRegistered());
    }
    Close();
}

SCENARIO(freeing_on_another_thread_while_the_ui_thread_dispatches) {
    for (int round = 0; round != 3; ++round) {
        const User user;
        CHECK(user.RunsUIJobs());
        long gone = 0;
        user.QueueWaitingUIJob(gone);
        DispatchWhatIsThere();
        std::atomic<bool> isFree{false};
        std::thread other([&] {
            user.Free();
            isFree = true;
        });
        DispatchUntil([&] { return isFree.load() && UIWindows().empty(); });
        other.join();
        CHECK(gone == 1);
    }
    Close();
}

// The window stays, without its code, until its thread looks at its messages.
SCENARIO(freeing_on_another_thread_while_the_ui_thread_waits) {
    for (int round = 0; round != 3; ++round) {
        const User user;
        CHECK(user.RunsUIJobs());
        long gone = 0;
        long ran = 0;
        user.QueueWaitingUIJob(gone);
        DispatchWhatIsThere();
        user.QueueUIJob(ran);
        std::thread([&] { user.Free(); }).join();
        CHECK(gone == 1);
        CHECK(UIWindows().size() == 1);
        // A wake message and a tick of the timer are still to come.
        Sleep(50);
        DispatchWhatIsThere();
        CHECK(ran == 0);
        CHECK(UIWindows().empty());
    }
    Close();
}

SCENARIO(loading_again_beside_a_window_that_was_left_behind) {
    const User first;
    std::thread([&] { first.Free(); }).join();
    CHECK(UIWindows().size() == 1);
    const User second;
    CHECK(UIWindows().size() == 2);
    CHECK(second.RunsUIJobs());
    CHECK(UIWindows().size() == 1);
    second.Free();
    CHECK(UIWindows().empty());
    CHECK(!IsClassRegistered());
    Close();
}

SCENARIO(the_thread_that_loads_the_library_becomes_its_ui_thread) {
    std::thread([] {
        const User user;
        CHECK(user.IsMainThread());
        std::thread([&] {
            CHECK(!user.IsMainThread());
            CHECK(!user.Startup());
        }).join();
        CHECK(user.RunsUIJobs());
        user.Free();
        CHECK(UIWindows().empty());
    }).join();
    const User user;
    CHECK(user.IsMainThread());
    CHECK(user.RunsUIJobs());
    Close();
}

SCENARIO(freeing_after_the_ui_thread_has_ended) {
    long gone = 0;
    const User* user = nullptr;
    std::thread([&] {
        user = new User;
        user->QueueWaitingUIJob(gone);
        DispatchWhatIsThere();
    }).join();
    CHECK(UIWindows().empty());
    user->QueueWaitingUIJob(gone);
    user->Free();
    delete user;
    CHECK(gone == 2);
    CHECK(!IsClassRegistered());
    const User again;
    CHECK(again.RunsUIJobs());
    Close();
}

SCENARIO(main_returns_after_the_library_was_freed) {
    const User user;
    CHECK(user.RunsUIJobs());
    user.Free();
    Close();
}

SCENARIO(main_returns_beside_a_window_that_was_left_behind) {
    const User user;
    std::thread([&] { user.Free(); }).join();
    Close();
}
