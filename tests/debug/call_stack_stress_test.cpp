#include <kq/debug/symbol_handler.h>

#include "support/caller_library.h"
#include "support/captured_stacks.h"
#include "support/seed.h"
#include "support/stack_entries.h"
#include "support/stress_report.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <vector>

using kq::debug::symbolHandler;
using kq::debug::SymbolHandler;
using kq_test::CallerLibrary;
using kq_test::CaptureIn;
using kq_test::CountFrames;
using kq_test::FindFrame;
using kq_test::IsFrameOf;
using kq_test::Ping;
using kq_test::Random;
using kq_test::Stack;

namespace {

bool IsOf(const Stack& stack, std::size_t depth) {
    return IsFrameOf(stack[0], "GetCallStack") && IsFrameOf(stack[1], "Capture") &&
           CountFrames(stack, "Ping") == (depth + 1) / 2 && CountFrames(stack, "Pong") == depth / 2;
}

/// One step of a thread that takes stacks; whether all that it saw was right.
bool TakesRightStacks(Random& random) {
    const std::size_t depth = 1 + random.Below(random.OneIn(10) ? 300 : 20);
    bool isRight = true;
    if (random.OneIn(20)) {
        const auto own = SymbolHandler::Create();
        own->RefreshModuleList();
        isRight = IsFrameOf(own->GetCallStack().front(), "GetCallStack");
    }
    if (random.OneIn(20))
        symbolHandler->RefreshModuleList();
    return IsOf(Ping(depth), depth) && isRight;
}

/// One of two libraries that want the same base, called and unloaded again.
bool ShowsItsOwnNames(bool isFirst) {
    const CallerLibrary library(isFirst ? L"kq_test_first_caller.dll"
                                        : L"kq_test_second_caller.dll");
    const Stack stack = CaptureIn(library);
    return (FindFrame(stack, "FirstCaller") != nullptr) == isFirst &&
           (FindFrame(stack, "SecondCaller") != nullptr) != isFirst;
}

// Some take stacks of every depth, some refresh, make handlers of their own and let them go, while
// one loads and unloads libraries at one and the same base.
TEST(CallStackStress, EveryStackIsRightWhileModulesAndHandlersComeAndGo) {
    constexpr std::uint32_t takers = 3;
    constexpr int rounds = 40;
    const std::uint32_t seed = kq_test::Seed();
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (std::uint32_t number = 0; number != takers; ++number)
        threads.emplace_back([&, number] {
            Random random(seed, number);
            while (!isOver) {
                if (!TakesRightStacks(random))
                    ++wrong;
                ++taken;
            }
        });
    Random random(seed, takers);
    for (int round = 0; round != rounds; ++round)
        if (!ShowsItsOwnNames(random.OneIn(2)))
            ++wrong;
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    std::printf("%d stacks\n", taken.load());
    kq_test::ReportStress(rounds, 0);
}

// The last handler goes again and again, and with it the symbol state.
TEST(CallStackStress, EveryStackIsRightWhileTheSymbolStateIsOpenedAndClosed) {
    constexpr std::uint32_t threadCount = 3;
    constexpr int rounds = 3;
    const std::uint32_t seed = kq_test::Seed();
    symbolHandler.Reset();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::uint32_t number = 0; number != threadCount; ++number)
        threads.emplace_back([&, number] {
            Random random(seed, number);
            for (int round = 0; round != rounds; ++round) {
                const auto own = SymbolHandler::Create();
                for (std::uint32_t stack = random.Below(3); stack != 3; ++stack)
                    if (!IsFrameOf(own->GetCallStack().front(), "GetCallStack"))
                        ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    symbolHandler = SymbolHandler::Create();
    EXPECT_EQ(wrong, 0);
}

} // namespace
