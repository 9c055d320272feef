#include "concurrency/pool_thread.h"

#include <windows.h>

#include <atomic>
#include <exception>
#include <utility>

namespace kq::concurrency {

namespace {

std::atomic<bool> isUnmapped{false};

/// What a new thread is given; the thread frees it.
struct StartArguments {
    Job function;
    HMODULE module;
};

/// The module that this code belongs to, with one reference more; it cannot be unmapped while a
/// thread holds that.
HMODULE PinThisModule() noexcept {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&PinThisModule), &module);
    return module;
}

// Not an ordinary return: with the last reference the code of this very function goes away, so the
// system has to give it back and end the thread in one step. The run-time library frees its data of
// the thread when the loader tells it that the thread ends.
DWORD WINAPI RunThread(void* parameter) noexcept {
    std::unique_ptr<StartArguments> arguments(static_cast<StartArguments*>(parameter));
    const HMODULE module = arguments->module;
    arguments->function();
    arguments.reset();
    FreeLibraryAndExitThread(module, 0);
}

class CSTDThread final : public CThread {
public:
    explicit CSTDThread(const Job& function) {
        auto arguments = std::make_unique<StartArguments>(StartArguments{function, nullptr});
        arguments->module = PinThisModule();
        if (arguments->module == nullptr)
            return;
        handle_ = CreateThread(nullptr, 0, RunThread, arguments.get(), 0, &id_);
        if (handle_ != nullptr)
            static_cast<void>(arguments.release()); // the thread frees it
        else
            FreeLibrary(arguments->module);
    }

    ~CSTDThread() override {
        if (handle_ == nullptr)
            return;
        // A thread that waited for its own end would wait for ever, silently.
        if (GetCurrentThreadId() == id_)
            std::terminate();
        if (!isUnmapped.load(std::memory_order_relaxed))
            WaitForSingleObject(handle_, INFINITE);
        CloseHandle(handle_);
    }

    bool IsStarted() const noexcept { return handle_ != nullptr; }

    void Wait() const override { WaitForSingleObject(handle_, INFINITE); }

    // The handle is signalled when the thread is gone, so the thread itself is never told yes.
    bool IsFinished() const override { return WaitForSingleObject(handle_, 0) == WAIT_OBJECT_0; }

private:
    HANDLE handle_ = nullptr;
    DWORD id_ = 0;
};

} // namespace

CThread::~CThread() = default;

std::unique_ptr<CThread> MakePoolThread(const Job& function) {
    if (isUnmapped.load(std::memory_order_relaxed))
        return nullptr;
    auto thread = std::make_unique<CSTDThread>(function);
    return thread->IsStarted() ? std::move(thread) : nullptr;
}

void AbandonPoolThreads() noexcept { isUnmapped.store(true, std::memory_order_relaxed); }

} // namespace kq::concurrency
