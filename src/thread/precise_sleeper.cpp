#include <kq/thread/precise_sleeper.h>

#include "thread/timer_resolution.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>

namespace utl {

/// Lends the event by which a timer ends a sleep. One event is kept for those who sleep one after
/// the other; whoever finds it lent gets a new one, because a signal wakes a single waiter, which
/// with a shared event need not be the one whose timer it was.
class CPreciseSleeperImpl {
public:
    CPreciseSleeperImpl() noexcept : kept_(MakeEvent()) {}
    ~CPreciseSleeperImpl() { Close(kept_); }
    CPreciseSleeperImpl(const CPreciseSleeperImpl&) = delete;
    CPreciseSleeperImpl& operator=(const CPreciseSleeperImpl&) = delete;

    /// Not signalled and used by nobody else; null when there is none.
    HANDLE TakeEvent() noexcept {
        const HANDLE kept = kept_.exchange(nullptr);
        return kept != nullptr ? kept : MakeEvent();
    }

    /// The event is not signalled and no timer refers to it any more.
    void GiveBack(HANDLE event) noexcept { Close(kept_.exchange(event)); }

private:
    static HANDLE MakeEvent() noexcept { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }
    static void Close(HANDLE event) noexcept {
        if (event != nullptr)
            CloseHandle(event);
    }

    std::atomic<HANDLE> kept_;
};

namespace {

/// Whether the timer could be started; returns when it has ended.
bool WaitForTimer(UINT milliseconds, HANDLE event) noexcept {
    constexpr UINT resolution = 1;
    if (timeSetEvent(milliseconds, resolution, reinterpret_cast<LPTIMECALLBACK>(event), 0,
                     TIME_ONESHOT | TIME_CALLBACK_EVENT_SET) == 0)
        return false;
    WaitForSingleObject(event, INFINITE);
    return true;
}

bool SleepOn(HANDLE event, unsigned int milliseconds) noexcept {
    constexpr unsigned int longestTimer = 65'535;
    const kq::thread::FineTimerResolution resolution;
    while (milliseconds != 0) {
        const unsigned int piece = std::min(milliseconds, longestTimer);
        if (!WaitForTimer(piece, event))
            return false;
        milliseconds -= piece;
    }
    return true;
}

} // namespace

CPreciseSleeper::CPreciseSleeper() : impl_(std::make_unique<CPreciseSleeperImpl>()) {}
CPreciseSleeper::~CPreciseSleeper() = default;

bool CPreciseSleeper::SleepPrecise(unsigned int milliseconds) const noexcept {
    if (milliseconds == 0)
        return true;
    const HANDLE event = impl_->TakeEvent();
    if (event == nullptr)
        return false;
    const bool hasSlept = SleepOn(event, milliseconds);
    impl_->GiveBack(event);
    return hasSlept;
}

} // namespace utl
