// Threads and events.
#include <windows.h>

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <csetjmp>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

/// What a handle refers to: something that is signalled or not.
class Object {
public:
    explicit Object(bool isSet = false, bool isManual = true) noexcept
        : isSet_(isSet), isManual_(isManual) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void Set() {
        const std::lock_guard guard(mutex_);
        isSet_ = true;
        changed_.notify_all();
    }

    /// Whether it was signalled in that time.
    bool Wait(DWORD milliseconds) {
        std::unique_lock lock(mutex_);
        const auto isSet = [this] { return isSet_; };
        if (milliseconds == INFINITE)
            changed_.wait(lock, isSet);
        else if (!changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), isSet))
            return false;
        isSet_ = isManual_;
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isSet_;
    const bool isManual_;
};

/// Signalled when its function has ended.
class Thread final : public Object {
public:
    Thread(ThreadFunction function, void* parameter) noexcept
        : function_(function), parameter_(parameter) {}
    ~Thread() override {
        if (thread_.joinable())
            thread_.detach();
    }

    static std::shared_ptr<Thread> Start(ThreadFunction function, void* parameter) {
        auto thread = std::make_shared<Thread>(function, parameter);
        try {
            thread->thread_ = std::thread([thread]() mutable {
                thread->id_ = GetCurrentThreadId();
                thread->hasId_.Set();
                thread->Run();
                thread->Set();
                thread.reset();
            });
        } catch (const std::system_error&) {
            return nullptr;
        }
        thread->hasId_.Wait(INFINITE);
        return thread;
    }

    DWORD Id() const noexcept { return id_; }

    /// Ends the calling thread's function from within.
    [[noreturn]] static void Exit() { longjmp(*end, 1); }

private:
    // A function that says that it never returns is left by a jump.
    void Run() {
        std::jmp_buf here;
        end = &here;
        if (setjmp(here) == 0)
            function_(parameter_);
        end = nullptr;
    }

    static thread_local std::jmp_buf* end;

    const ThreadFunction function_;
    void* const parameter_;
    Object hasId_;
    DWORD id_ = 0;
    std::thread thread_;
};

thread_local std::jmp_buf* Thread::end = nullptr;

struct Handle {
    std::shared_ptr<Object> object;
};

HANDLE HandleOf(std::shared_ptr<Object> object) { return new Handle{std::move(object)}; }

} // namespace

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

ULONGLONG GetTickCount64() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<ULONGLONG>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

HANDLE CreateThread(void* /*security*/, SIZE_T /*stack*/, ThreadFunction function, void* parameter,
                    DWORD /*flags*/, DWORD* id) {
    const std::shared_ptr<Thread> thread = Thread::Start(function, parameter);
    if (thread == nullptr)
        return nullptr;
    *id = thread->Id();
    return HandleOf(thread);
}

HANDLE CreateEventW(void* /*security*/, BOOL isManual, BOOL isSet, LPCWSTR /*name*/) {
    return HandleOf(std::make_shared<Object>(isSet != FALSE, isManual != FALSE));
}

BOOL SetEvent(HANDLE event) {
    static_cast<Handle*>(event)->object->Set();
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    return static_cast<Handle*>(object)->object->Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

BOOL CloseHandle(HANDLE object) {
    delete static_cast<Handle*>(object);
    return TRUE;
}

// One module, which stays.

HMODULE GetModuleHandleW(LPCWSTR /*name*/) {
    static char module;
    return reinterpret_cast<HMODULE>(&module);
}

BOOL GetModuleHandleExW(DWORD /*flags*/, LPCWSTR /*name*/, HMODULE* module) {
    *module = GetModuleHandleW(nullptr);
    return TRUE;
}

BOOL FreeLibrary(HMODULE /*module*/) { return TRUE; }

void FreeLibraryAndExitThread(HMODULE /*module*/, DWORD /*code*/) { Thread::Exit(); }

extern "C" BOOLEAN RtlDllShutdownInProgress();
BOOLEAN RtlDllShutdownInProgress() { return FALSE; }
