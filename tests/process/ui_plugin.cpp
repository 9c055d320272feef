#include "process/ui_plugin.h"

#include <kq/kq.h>

#include <memory>
#include <optional>
#include <stdexcept>

using namespace kq::concurrency;

namespace {

std::optional<CUIJobQueue>& OwnQueue() {
    static std::optional<CUIJobQueue> queue;
    return queue;
}

const auto never = [] { return StartInfo::Postpone; };

} // namespace

extern "C" {

__declspec(dllexport) void QueueUIJob(long* counter) {
    jobQueue->Queue([counter] { ++*counter; }, inUIAsync);
}

__declspec(dllexport) void QueueWaitingUIJob(long* counter) {
    const std::shared_ptr<void> token(nullptr, [counter](void*) { ++*counter; });
    jobQueue->Queue([token] {}, inUIAsync & condition(never));
}

__declspec(dllexport) void MakeUIQueue() {
    OwnQueue().emplace();
    OwnQueue()->Queue([] {}, inUIAsync & condition(never));
    OwnQueue()->Pump();
}

__declspec(dllexport) bool IsMainThread() { return kq::win32::IsMainThread(); }

__declspec(dllexport) void Shutdown() { kq::Shutdown(); }

__declspec(dllexport) bool Startup() {
    try {
        kq::Startup();
        return true;
    } catch (const std::logic_error&) {
        return false;
    }
}
}
