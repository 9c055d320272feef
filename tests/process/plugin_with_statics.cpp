// A plug-in whose objects with static storage use the library: they begin while the loader loads
// the two, and end while it unloads them or while the process ends.
#include <kq/kq.h>

#include <atomic>
#include <memory>

using namespace kq::concurrency;

namespace {

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

__declspec(dllexport) void ShutdownLibrary() { kq::Shutdown(); }
}
