// Waiting for what can only be looked at.
#pragma once

#include "support/hand_shake.h"

#include <chrono>
#include <thread>

namespace kq_test {

/// Whether `predicate` becomes true; for states that a thread reaches without telling anybody.
/// Gives up after the limit of the hand-shakes.
template <class Predicate>
bool Eventually(Predicate predicate) {
    const auto end = std::chrono::steady_clock::now() + handShakeLimit;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace kq_test
