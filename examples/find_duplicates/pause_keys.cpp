#include "pause_keys.h"

#include "keyboard.h"

#include <chrono>

namespace find_duplicates {

using namespace kq::concurrency;
using kq::progress::IProgressSignaler;

PauseKeys::PauseKeys(const std::shared_ptr<IProgressSignaler>& work) {
    const auto poll = [work, keyboard = std::make_shared<Keyboard>()] {
        for (const wchar_t key : keyboard->Typed()) {
            if (key == L'p' || key == L'P')
                work->SuspendNow();
            else if (key == L'r' || key == L'R')
                work->ResumeNow();
        }
    };
    poll();
    constexpr std::chrono::milliseconds period{100};
    polling_ =
        GetTimedJobScheduler().Register([poll](const TimedJobTicket&) { poll(); }, period, true);
}

// A call that has begun goes on, with a keyboard and a handle on the work of its own.
PauseKeys::~PauseKeys() { GetTimedJobScheduler().Unregister(polling_); }

} // namespace find_duplicates
