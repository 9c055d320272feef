// A plug-in whose objects with static storage use the library: they begin while the loader loads
// the two, and end while it unloads them or while the process ends.
#include <kq/kq.h>

#include "support/debugger_output.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

using namespace kq::concurrency;

namespace {

/// Shuts the library down at a time when that is too late, or not allowed, unless it is disarmed.
class LateShutdown {
public:
    ~LateShutdown() {
        if (isArmed)
            kq::Shutdown();
    }

    bool isArmed = false;
};

LateShutdown lateShutdown;

/// Writes the references to the debugger, and drops one, as late as that.
class LateDump {
public:
    ~LateDump() {
        if (!isArmed)
            return;
        kq::debug::g_trackList.DumpAll();
        kq::debug::g_trackList.RemoveReference(this, this);
    }

    bool isArmed = false;
};

LateDump lateDump;

/// A pool and a queue of the plug-in's own, used when it is asked for.
std::shared_ptr<CThreadPool> ownPool;
std::shared_ptr<CJobQueue> ownQueue;

class User {
public:
    User()
        : queue_(jobQueue.GetShared()),
          pool_(threadPool.GetShared()),
          ticket_(queue_->Queue([this] { ran_ = true; })) {}

    bool HasRun() const {
        ticket_.Wait();
        return ran_;
    }

private:
    std::atomic<bool> ran_{false};
    std::shared_ptr<CJobQueue> queue_;
    std::shared_ptr<CThreadPool> pool_;
    CJobTicket ticket_;
};

User user;

} // namespace

extern "C" {

/// Waits for the job that was queued while the plug-in was loaded, and tells whether it ran.
__declspec(dllexport) bool StaticJobHasRun() { return user.HasRun(); }

/// From now on the plug-in shuts the library down when it is unloaded or the process ends.
__declspec(dllexport) void ArmLateShutdown() { lateShutdown.isArmed = true; }

/// Queues jobs that run for ever, and others behind them, in a queue that ends with the plug-in.
__declspec(dllexport) void KeepOwnQueueBusy() {
    ownPool = std::make_shared<CThreadPool>();
    ownQueue = std::make_shared<CJobQueue>(ownPool, 1U);
    std::atomic<int> running{0};
    const auto limit = static_cast<int>(ownPool->MaxSpareThreadCount());
    for (int job = 0; job != limit; ++job)
        ownQueue->Queue([&running] {
            ++running;
            for (;;)
                std::this_thread::yield();
        });
    for (int job = 0; job != 10; ++job)
        ownQueue->Queue([] {});
    while (running != limit)
        std::this_thread::yield();
}

__declspec(dllexport) void ShutdownLibrary() { kq::Shutdown(); }

/// Leaves a thread in the middle of a dump for ever. The plug-in dumps again when it is unloaded or
/// the process ends.
__declspec(dllexport) void DumpForEver() {
    static std::atomic<bool> isDumping{false};
    static auto* const output = new kq_test::DebuggerOutput([](const std::wstring& /*text*/) {
        isDumping = true;
        for (;;)
            std::this_thread::yield();
    });
    static_cast<void>(output);
    kq::debug::g_trackList.AddReference(&lateDump, &lateDump);
    std::thread([] { kq::debug::g_trackList.DumpAll(); }).detach();
    while (!isDumping)
        std::this_thread::yield();
    lateDump.isArmed = true;
}
}
