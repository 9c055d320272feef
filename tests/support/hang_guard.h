// Ends a program that hangs, and says where.
#pragma once

#include <cstdint>

namespace kq_test {

/// Watches this program from a thread of its own. When it still runs after `seconds`, prints the
/// call stack of every thread and ends it with `exitCodeOfHang`. The environment variable
/// KQ_HANG_LIMIT overrules the time; with 0, and under a debugger, nobody watches.
void StartHangGuard(std::uint32_t seconds);

/// Prints the call stack of every thread of this process to the standard error output; that is done
/// by kq_hang_report.exe beside this program, for which it does not matter who holds which lock
/// here.
void PrintAllStacks() noexcept;

inline constexpr std::uint32_t exitCodeOfHang = 95;

} // namespace kq_test
