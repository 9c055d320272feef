// The main program of every test: runs GoogleTest, holds the tests to leaving nothing behind, and
// prints the closing line by which a run counts.
#include "support/hang_guard.h"
#include "support/leftovers.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

// A crash has to end with a code of our own: under Wine the default handling may end with 0.
constexpr int exitCodeOfCrash = 97;
constexpr int exitCodeOfTerminate = 98;

// Before the time-outs of cmake/wine-run and of ctest.
constexpr std::uint32_t secondsUntilHang = 240;

LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* fault) {
    std::fprintf(stderr, "kq tests: crashed with code 0x%08lx at %p\n",
                 fault->ExceptionRecord->ExceptionCode, fault->ExceptionRecord->ExceptionAddress);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), exitCodeOfCrash);
    return EXCEPTION_EXECUTE_HANDLER;
}

[[noreturn]] void EndOnTerminate() {
    std::fprintf(stderr, "kq tests: terminated; its threads:\n");
    std::fflush(stderr);
    kq_test::PrintAllStacks();
    TerminateProcess(GetCurrentProcess(), exitCodeOfTerminate);
    std::abort();
}

} // namespace

int main(int argc, char** argv) {
    SetUnhandledExceptionFilter(EndOnCrash);
    std::set_terminate(EndOnTerminate);
    testing::InitGoogleTest(&argc, argv);
    kq_test::StartHangGuard(secondsUntilHang);
    const int result = RUN_ALL_TESTS();
    const int passed = testing::UnitTest::GetInstance()->successful_test_count();
    const bool isGood = result == 0 && kq_test::LeaveNothingBehind();
    if (isGood)
        std::printf("kq tests: all %d passed\n", passed);
    std::fflush(stdout);
    return isGood ? 0 : 1;
}
