#include <kq/thread/scoped_locks.h>
#include <kq/thread/spin_mutex.h>
#include <kq/thread/thread_names.h>

#include "thread/platform.h"

#include <unordered_map>

namespace kq::thread {

// The lock is held for the look-up or the change only: a name to be set is copied before it is
// taken, and a name that goes is freed after it is given back.
class ThreadNameMapImpl {
public:
    std::string Get(unsigned long threadId) {
        const lock_guard guard(mutex_);
        const auto found = names_.find(threadId);
        if (found != names_.end())
            return found->second;
        return names_.emplace(threadId, std::to_string(threadId)).first->second;
    }

    void Set(unsigned long threadId, std::string name) {
        const lock_guard guard(mutex_);
        names_[threadId].swap(name);
    }

    void Reset(unsigned long threadId) noexcept {
        Names::node_type forgotten;
        const lock_guard guard(mutex_);
        forgotten = names_.extract(threadId);
    }

private:
    using Names = std::unordered_map<unsigned long, std::string>;

    spin_mutex mutex_;
    Names names_ KQ_GUARDED_BY(mutex_){8};
};

Singleton<ThreadNameMap, boost::shared_ptr> threadNameManager;

ThreadNameMap::ThreadNameMap() : impl_(std::make_unique<ThreadNameMapImpl>()) {}
ThreadNameMap::~ThreadNameMap() = default;

shared_ref<ThreadNameMap, boost::shared_ptr> ThreadNameMap::Create() {
    return shared_ref<ThreadNameMap, boost::shared_ptr>(new ThreadNameMap);
}

std::string ThreadNameMap::GetName(unsigned long threadId) { return impl_->Get(threadId); }
std::string ThreadNameMap::GetCurrentName() { return GetName(platform::CurrentThreadId()); }

void ThreadNameMap::SetName(unsigned long threadId, std::string const& name) {
    impl_->Set(threadId, name);
}
void ThreadNameMap::SetCurrentName(std::string const& name) {
    SetName(platform::CurrentThreadId(), name);
}

void ThreadNameMap::ResetName(unsigned long threadId) noexcept { impl_->Reset(threadId); }
void ThreadNameMap::ResetCurrentName() noexcept { ResetName(platform::CurrentThreadId()); }

} // namespace kq::thread
