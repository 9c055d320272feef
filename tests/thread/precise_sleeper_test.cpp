// The sleeper between the calls of the system that it makes: the program stands in for their
// imports, so that a test can see them, make them fail, and end a timer when it likes.
#include <windows.h>

#include <kq/thread/precise_sleeper.h>

#include "support/hand_shake.h"
#include "support/handle_level.h"

#include <gtest/gtest.h>

#include <mmsystem.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using utl::CPreciseSleeper;

namespace {

/// What is called instead of the system's functions. The system's own, unless a test says
/// otherwise.
struct Imports {
    std::function<MMRESULT(UINT)> beginPeriod;
    std::function<MMRESULT(UINT)> endPeriod;
    std::function<MMRESULT(UINT delay, UINT resolution, HANDLE event, UINT flags)> setEvent;
    std::function<HANDLE()> createEvent;
};

Imports imports;

/// The system's own function behind an import that this program has taken over.
template <class Function>
Function* OfSystem(const wchar_t* module, const char* name) {
    const FARPROC function = GetProcAddress(LoadLibraryW(module), name);
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(function));
}

MMRESULT WINAPI BeginPeriod(UINT period) {
    if (imports.beginPeriod)
        return imports.beginPeriod(period);
    return OfSystem<decltype(timeBeginPeriod)>(L"winmm", "timeBeginPeriod")(period);
}

MMRESULT WINAPI EndPeriod(UINT period) {
    if (imports.endPeriod)
        return imports.endPeriod(period);
    return OfSystem<decltype(timeEndPeriod)>(L"winmm", "timeEndPeriod")(period);
}

MMRESULT WINAPI SetEventLater(UINT delay, UINT resolution, LPTIMECALLBACK callback, DWORD_PTR user,
                              UINT flags) {
    if (imports.setEvent)
        return imports.setEvent(delay, resolution, reinterpret_cast<HANDLE>(callback), flags);
    return OfSystem<decltype(timeSetEvent)>(L"winmm", "timeSetEvent")(delay, resolution, callback,
                                                                      user, flags);
}

HANDLE WINAPI MakeEvent(LPSECURITY_ATTRIBUTES security, BOOL isManual, BOOL isSet, LPCWSTR name) {
    if (imports.createEvent)
        return imports.createEvent();
    return OfSystem<decltype(CreateEventW)>(L"kernel32", "CreateEventW")(security, isManual, isSet,
                                                                         name);
}

} // namespace

// The linker takes these for the imports, because they are defined before it looks into the import
// libraries.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker names them so
extern "C" {
extern decltype(&BeginPeriod) __imp_timeBeginPeriod;
extern decltype(&EndPeriod) __imp_timeEndPeriod;
extern decltype(&SetEventLater) __imp_timeSetEvent;
extern decltype(&MakeEvent) __imp_CreateEventW;
decltype(&BeginPeriod) __imp_timeBeginPeriod = BeginPeriod;
decltype(&EndPeriod) __imp_timeEndPeriod = EndPeriod;
decltype(&SetEventLater) __imp_timeSetEvent = SetEventLater;
decltype(&MakeEvent) __imp_CreateEventW = MakeEvent;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

class PreciseSleeper : public testing::Test {
protected:
    ~PreciseSleeper() override { imports = Imports(); }

    /// Writes every call down; timers end at once, those after the first `timers` do not start.
    void Record(std::size_t timers = SIZE_MAX) {
        imports.beginPeriod = [this](UINT period) {
            calls.push_back("begin " + std::to_string(period));
            return MMRESULT{TIMERR_NOERROR};
        };
        imports.endPeriod = [this](UINT period) {
            calls.push_back("end " + std::to_string(period));
            return MMRESULT{TIMERR_NOERROR};
        };
        imports.setEvent = [this, timers](UINT delay, UINT resolution, HANDLE event,
                                          UINT flags) mutable {
            EXPECT_EQ(resolution, 1u);
            EXPECT_EQ(flags, unsigned{TIME_ONESHOT | TIME_CALLBACK_EVENT_SET});
            EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
            calls.push_back("timer " + std::to_string(delay));
            if (timers-- == 0)
                return MMRESULT{0};
            SetEvent(event);
            return MMRESULT{1};
        };
    }

    using Calls = std::vector<std::string>;
    Calls calls;
};

TEST_F(PreciseSleeper, SleepsItsTime) {
    const CPreciseSleeper sleeper;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(sleeper.SleepPrecise(50));
    // A multimedia timer counts whole ticks of its own clock, of which the first has begun.
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(48));
}

TEST_F(PreciseSleeper, SleepsAgainAndAgain) {
    const CPreciseSleeper sleeper;
    const auto begin = std::chrono::steady_clock::now();
    for (int round = 0; round != 10; ++round)
        EXPECT_TRUE(sleeper.SleepPrecise(5));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(10 * 3));
}

TEST_F(PreciseSleeper, RaisesTheTimerResolutionForTheDurationOfTheCallOnly) {
    Record();
    const CPreciseSleeper sleeper;
    EXPECT_EQ(calls, Calls());
    EXPECT_TRUE(sleeper.SleepPrecise(5));
    EXPECT_EQ(calls, (Calls{"begin 1", "timer 5", "end 1"}));
}

TEST_F(PreciseSleeper, ZeroMillisecondsAreOverAtOnce) {
    Record();
    EXPECT_TRUE(CPreciseSleeper().SleepPrecise(0));
    EXPECT_EQ(calls, Calls());
}

TEST_F(PreciseSleeper, ATimerThatDoesNotStartIsReported) {
    Record(0);
    EXPECT_FALSE(CPreciseSleeper().SleepPrecise(5));
    EXPECT_EQ(calls, (Calls{"begin 1", "timer 5", "end 1"}));
}

TEST_F(PreciseSleeper, ADelayBeyondTheLongestTimerIsSleptInPieces) {
    Record();
    EXPECT_TRUE(CPreciseSleeper().SleepPrecise(65'535));
    EXPECT_EQ(calls, (Calls{"begin 1", "timer 65535", "end 1"}));
    calls.clear();
    EXPECT_TRUE(CPreciseSleeper().SleepPrecise(131'071));
    EXPECT_EQ(calls, (Calls{"begin 1", "timer 65535", "timer 65535", "timer 1", "end 1"}));
}

TEST_F(PreciseSleeper, TheLongestDelayIsSleptToItsEnd) {
    std::uint64_t slept = 0;
    imports.setEvent = [&slept](UINT delay, UINT /*resolution*/, HANDLE event, UINT /*flags*/) {
        slept += delay;
        SetEvent(event);
        return MMRESULT{1};
    };
    EXPECT_TRUE(CPreciseSleeper().SleepPrecise(UINT32_MAX));
    EXPECT_EQ(slept, UINT32_MAX);
}

TEST_F(PreciseSleeper, APieceThatDoesNotStartIsReported) {
    Record(1);
    EXPECT_FALSE(CPreciseSleeper().SleepPrecise(100'000));
    EXPECT_EQ(calls, (Calls{"begin 1", "timer 65535", "timer 34465", "end 1"}));
}

TEST_F(PreciseSleeper, WithoutAnEventNothingIsSlept) {
    Record();
    imports.createEvent = [] { return HANDLE{nullptr}; };
    const CPreciseSleeper sleeper;
    EXPECT_FALSE(sleeper.SleepPrecise(5));
    EXPECT_TRUE(sleeper.SleepPrecise(0));
    EXPECT_EQ(calls, Calls());
}

TEST_F(PreciseSleeper, ASleepThatFailedLeavesTheNextOneItsTime) {
    const CPreciseSleeper sleeper;
    Record(0);
    EXPECT_FALSE(sleeper.SleepPrecise(5));
    Record();
    EXPECT_TRUE(sleeper.SleepPrecise(5));
}

TEST_F(PreciseSleeper, TwoThreadsOnOneSleeperEachSleepTheirOwnTime) {
    std::mutex mutex;
    HANDLE timers[3] = {};
    kq_test::Counter started;
    imports.setEvent = [&](UINT delay, UINT /*resolution*/, HANDLE event, UINT /*flags*/) {
        const std::lock_guard guard(mutex);
        timers[delay] = event;
        started.Add();
        return MMRESULT{delay};
    };
    const CPreciseSleeper sleeper;
    for (int round = 0; round != 100; ++round) {
        const std::size_t before = started.Value();
        kq_test::Event ends[3];
        std::thread first([&] {
            EXPECT_TRUE(sleeper.SleepPrecise(1));
            ends[1].Set();
        });
        started.WaitFor(before + 1);
        std::thread second([&] {
            EXPECT_TRUE(sleeper.SleepPrecise(2));
            ends[2].Set();
        });
        started.WaitFor(before + 2);
        ASSERT_NE(timers[1], timers[2]);
        // In turns, the timer that was started first ends first, or last.
        const int early = 1 + round % 2;
        const int late = 3 - early;
        SetEvent(timers[early]);
        ends[early].Wait("a sleeper whose time is over");
        EXPECT_FALSE(ends[late].IsSet());
        SetEvent(timers[late]);
        ends[late].Wait("the other sleeper");
        first.join();
        second.join();
    }
}

TEST_F(PreciseSleeper, KeepsNoHandles) {
    Record();
    CPreciseSleeper().SleepPrecise(1);
    const std::uintptr_t before = HandleLevel();
    for (int round = 0; round != 1'000; ++round) {
        const CPreciseSleeper sleeper;
        sleeper.SleepPrecise(1);
        // One sleep inside another, as on a second thread.
        imports.setEvent = [&](UINT delay, UINT /*resolution*/, HANDLE event, UINT /*flags*/) {
            if (delay == 2)
                sleeper.SleepPrecise(1);
            SetEvent(event);
            return MMRESULT{1};
        };
        sleeper.SleepPrecise(2);
    }
    EXPECT_EQ(HandleLevel(), before);
}

TEST_F(PreciseSleeper, IsNotCopied) {
    static_assert(!std::is_copy_constructible_v<CPreciseSleeper>);
    static_assert(!std::is_copy_assignable_v<CPreciseSleeper>);
}

} // namespace
