// Hangs on two threads.
#include <windows.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

volatile bool isOver = false;

[[gnu::noinline]] void WaitForWhatNeverComes() {
    while (!isOver)
        Sleep(INFINITE);
}

[[gnu::noinline]] void SpinForEver() {
    while (!isOver) {
    }
}

TEST(HangingProgram, Hangs) {
    std::thread spinning(SpinForEver);
    WaitForWhatNeverComes();
    spinning.join();
}

} // namespace
