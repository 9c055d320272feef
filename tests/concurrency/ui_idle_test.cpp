// What a UI thread costs while its jobs wait.
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/ui_job_queue.h>
#include <kq/win32/message_pump.h>

#include "support/hand_shake.h"
#include "support/ui_messages.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

using namespace kq::concurrency;
using kq_test::Event;
using kq_test::MessageCounter;

namespace {

constexpr DWORD idleMilliseconds = 5'000;

std::uint64_t ProcessorMilliseconds() {
    FILETIME created{}, ended{}, kernel{}, user{};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto units = [](const FILETIME& time) {
        return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
    };
    constexpr std::uint64_t unitsPerMillisecond = 10'000;
    return (units(kernel) + units(user)) / unitsPerMillisecond;
}

// A host's message loop for that long; how often it came back to life.
int DispatchForAWhile() {
    const UINT_PTR alarm = SetTimer(nullptr, 0, idleMilliseconds, nullptr);
    int messages = 0;
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd == nullptr && message.message == WM_TIMER && message.wParam == alarm)
            break;
        ++messages;
        DispatchMessageW(&message);
    }
    KillTimer(nullptr, alarm);
    return messages;
}

TEST(UIIdle, AJobThatWaitsForATicketCostsNoProcessorTime) {
    CUIJobQueue queue;
    Event release;
    const CJobTicket unfinished = jobQueue->Queue([&] { release.Wait(); }, isBlocking);
    const CJobTicket own = queue.Queue([] {}, after(unfinished));
    const CJobTicket ofTheLibrary = jobQueue->Queue([] {}, inUI & dependsOn(unfinished));

    queue.Pump();
    kq::win32::PumpMessageQueue();

    const MessageCounter counter;
    const std::uint64_t before = ProcessorMilliseconds();
    const int messages = DispatchForAWhile();
    const std::uint64_t used = ProcessorMilliseconds() - before;
    std::printf("%d messages, %d ms of processor time\n", messages, static_cast<int>(used));
    EXPECT_EQ(messages, 0);
    EXPECT_EQ(counter.Ticks(), 0u);
    EXPECT_LE(used, idleMilliseconds / 50);

    release.Set();
    kq_test::DispatchUntil([&] { return own.Wait(0) && ofTheLibrary.Wait(0); });
}

TEST(UIIdle, AConditionIsAskedAtTheRateOfTheTimerOnly) {
    CUIJobQueue queue;
    int asked = 0;
    queue.Queue([] {}, isBlocking & condition([&asked] {
                           ++asked;
                           return StartInfo::Postpone;
                       }));
    queue.Pump();
    const MessageCounter counter;
    asked = 0;
    DispatchForAWhile();
    // Never more often than every 10 ms, on whatever machine.
    EXPECT_LE(asked, static_cast<int>(idleMilliseconds / 10));
    EXPECT_EQ(static_cast<std::size_t>(asked), counter.Ticks());
    EXPECT_GT(asked, 0);
}

} // namespace
