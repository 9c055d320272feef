// Each function breaks what the annotations of the library's locks say, and does not compile with
// the check on.
#include <kq/signal/short_lock.h>
#include <kq/thread/scoped_locks.h>
#include <kq/thread/spin_mutex.h>

#include "thread/condition_variable.h"
#include "thread/mutex.h"
#include "thread/surviving_lock.h"

namespace {

using namespace kq::thread;

class Account {
public:
    int Read() { return balance_; }

    void WriteAfterTheLock() {
        unique_lock lock(mutex_);
        lock.unlock();
        balance_ = 1;
    }

    void WriteInAPause() {
        const lock_guard guard(mutex_);
        const unlock_guard released(mutex_);
        balance_ = 2;
    }

    void CallWithoutTheLock() { Add(3); }

    void WaitWithoutTheLock() { changed_.wait(mutex_); }

    void LeaveItHeld() { mutex_.lock(); }

    int DoNotAskWhetherItIsHeld() {
        const SurvivingLock lock(mutex_);
        return balance_;
    }

    int UnderAnotherLock() {
        const lock_guard guard(spinMutex_);
        const lock_guard shortGuard(shortLock_);
        return balance_;
    }

private:
    void Add(int value) KQ_REQUIRES(mutex_) { balance_ += value; }

    mutex mutex_;
    condition_variable changed_;
    spin_mutex spinMutex_;
    kq::signal::detail::ShortLock shortLock_;
    int balance_ KQ_GUARDED_BY(mutex_) = 0;
};

} // namespace

void UseAccount() {
    Account account;
    account.Read();
    account.WriteAfterTheLock();
    account.WriteInAPause();
    account.CallWithoutTheLock();
    account.WaitWithoutTheLock();
    account.LeaveItHeld();
    account.DoNotAskWhetherItIsHeld();
    account.UnderAnotherLock();
}
