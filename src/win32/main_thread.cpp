#include "win32/main_thread.h"

#include <kq/win32/message_pump.h>

#include <windows.h>

#include <atomic>

namespace kq::win32 {

namespace {

std::atomic<std::uint32_t> mainThread{0};

} // namespace

void RecordMainThread() noexcept {
    std::uint32_t none = 0;
    mainThread.compare_exchange_strong(none, GetCurrentThreadId());
}

ThreadId GetMainThreadId() noexcept { return {mainThread.load(std::memory_order_relaxed)}; }

bool IsMainThread() noexcept { return GetMainThreadId().value == GetCurrentThreadId(); }

} // namespace kq::win32
