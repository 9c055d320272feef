#include <windows.h>

#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/concurrency/ui_job_queue.h>
#include <kq/debug/symbol_handler.h>

#include "support/captured_stacks.h"
#include "support/hand_shake.h"
#include "support/stack_entries.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

using kq::debug::CallStackEntry;
using kq::debug::symbolHandler;
using kq_test::Capture;
using kq_test::CountFrames;
using kq_test::FileNameOf;
using kq_test::FindFrame;
using kq_test::IsFrameOf;
using kq_test::Ping;
using kq_test::sink;
using kq_test::Stack;

namespace {

/// Where the innermost frame of CallsItself lies.
const volatile void* innermost = nullptr;

[[gnu::noinline]] Stack CallsItself(std::size_t depth) {
    if (depth == 0) {
        const volatile char here = 0;
        innermost = &here;
        return Capture();
    }
    Stack stack = CallsItself(depth - 1);
    sink = sink + 1;
    return stack;
}

bool IsComplete(const CallStackEntry& entry) {
    return entry.address != 0 && !entry.symbolName.empty() && !entry.moduleName.empty() &&
           !entry.fileName.empty() && entry.lineNumber != 0;
}

/// `size` bytes of stack for one call.
template <class Step>
void OnAStackOf(std::size_t size, Step step) {
    const auto run = [](void* argument) -> DWORD {
        (*static_cast<Step*>(argument))();
        return 0;
    };
    const HANDLE thread =
        CreateThread(nullptr, size, run, &step, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

TEST(CallStack, BeginsInGetCallStackAndGoesOnWithItsCaller) {
    const Stack stack = Capture();
    ASSERT_GE(stack.size(), 3u);
    EXPECT_TRUE(IsFrameOf(stack[0], "GetCallStack")) << stack[0].symbolName;
    EXPECT_TRUE(IsFrameOf(stack[1], "Capture")) << stack[1].symbolName;
    EXPECT_TRUE(IsFrameOf(stack[2], "TestBody")) << stack[2].symbolName;
}

TEST(CallStack, NamesFunctionModuleFileAndLineOfTheLibraryAndTheProgram) {
    const Stack stack = Capture();
    ASSERT_GE(stack.size(), 3u);
    for (std::size_t index = 0; index != 3; ++index)
        EXPECT_TRUE(IsComplete(stack[index])) << index;
    EXPECT_EQ(FileNameOf(stack[0].moduleName), L"kq.dll");
    EXPECT_EQ(FileNameOf(stack[0].fileName), "symbol_handler.cpp");
    EXPECT_EQ(FileNameOf(stack[1].moduleName), L"debug_call_stack_test.exe");
    EXPECT_EQ(FileNameOf(stack[1].fileName), "captured_stacks.h");
    EXPECT_EQ(FileNameOf(stack[2].moduleName), L"debug_call_stack_test.exe");
    EXPECT_EQ(FileNameOf(stack[2].fileName), "call_stack_test.cpp");
}

TEST(CallStack, SaysTheLine) {
    const unsigned int before = __LINE__;
    const Stack stack = symbolHandler->GetCallStack();
    const unsigned int after = __LINE__;
    ASSERT_GE(stack.size(), 2u);
    EXPECT_GT(stack[1].lineNumber, before);
    EXPECT_LE(stack[1].lineNumber, after);
}

TEST(CallStack, LeadsToTheStartOfTheThread) {
    std::vector<Stack> stacks(1);
    std::thread([&] { stacks[0] = Capture(); }).join();
    stacks.push_back(Capture());
    for (const Stack& stack : stacks)
        EXPECT_EQ(stack.back().symbolName, "RtlUserThreadStart");
}

TEST(CallStack, HasEveryFrameOfEveryDepth) {
    OnAStackOf(64 << 20, [] {
        for (const std::size_t depth : {1u, 10u, 1'000u, 10'000u}) {
            const Stack stack = Ping(depth);
            ASSERT_GE(stack.size(), depth + 3);
            EXPECT_EQ(CountFrames(stack, "Ping"), (depth + 1) / 2);
            EXPECT_EQ(CountFrames(stack, "Pong"), depth / 2);
            for (std::size_t index = 0; index != depth + 2; ++index)
                ASSERT_TRUE(IsComplete(stack[index])) << index << " of " << depth;
        }
    });
}

TEST(CallStack, HasOneEntryForFramesInARowAtOneAddress) {
    constexpr std::size_t depth = 1'000;
    constexpr std::uintptr_t smallestFrame = 16;
    const volatile char here = 0;
    const Stack stack = CallsItself(depth);
    ASSERT_GT(reinterpret_cast<std::uintptr_t>(&here) - reinterpret_cast<std::uintptr_t>(innermost),
              depth * smallestFrame)
        << "the optimiser has left no recursion";
    // The innermost frame stands at its call of Capture, the others at their call of themselves,
    // which the optimiser may have unrolled a few times.
    EXPECT_GE(CountFrames(stack, "CallsItself"), 1u);
    EXPECT_LT(CountFrames(stack, "CallsItself"), depth);
    for (std::size_t index = 1; index != stack.size(); ++index)
        EXPECT_NE(stack[index - 1].address, stack[index].address);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(CallStack, IsThatOfThePoolThreadInAJob) {
    Stack stack;
    kq::concurrency::jobQueue->Queue([&] { stack = Ping(2); }).Wait();
    EXPECT_NE(FindFrame(stack, "Ping"), nullptr);
    EXPECT_NE(FindFrame(stack, "Pong"), nullptr);
    EXPECT_NE(FindFrame(stack, "RunJob"), nullptr);
    EXPECT_EQ(FindFrame(stack, "TestBody"), nullptr);
    std::size_t framesOfTheLibrary = 0;
    for (const CallStackEntry& entry : stack)
        if (FileNameOf(entry.moduleName) == L"kq.dll") {
            EXPECT_TRUE(IsComplete(entry)) << entry.symbolName << " at " << entry.address;
            ++framesOfTheLibrary;
        }
    EXPECT_GE(framesOfTheLibrary, 4u);
}

TEST(CallStack, IsThatOfTheUiThreadInAUiJob) {
    Stack stack;
    const auto ticket =
        kq::concurrency::jobQueue->Queue([&] { stack = Ping(2); }, kq::concurrency::inUI);
    ticket.Wait();
    EXPECT_NE(FindFrame(stack, "Pong"), nullptr);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(CallStack, IsEachThreadsOwnWhenManyAreTakenAtOnce) {
    constexpr std::size_t threadCount = 8;
    constexpr int rounds = 50;
    kq_test::Counter ready;
    std::vector<int> wrong(threadCount);
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number != threadCount; ++number)
        threads.emplace_back([&, number] {
            ready.Add();
            ready.WaitFor(threadCount);
            const std::size_t depth = 2 * number + 1;
            for (int round = 0; round != rounds; ++round) {
                const Stack stack = Ping(depth);
                if (!IsFrameOf(stack[1], "Capture") || CountFrames(stack, "Ping") != number + 1 ||
                    CountFrames(stack, "Pong") != number)
                    ++wrong[number];
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(threadCount));
}

} // namespace
