#include "support/leftovers.h"

#include "support/handle_level.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace kq_test {

namespace {

std::size_t BlocksOfAllHeaps() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t blocks = 0;
    for (DWORD heap = 0; heap != count && heap != heaps.size(); ++heap) {
        HeapLock(heaps[heap]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[heap], &entry))
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
        HeapUnlock(heaps[heap]);
    }
    return blocks;
}

std::size_t PrivateKilobytes() {
    constexpr std::size_t kilobyte = 1024;
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* address = nullptr;
         VirtualQuery(address, &region, sizeof(region)) == sizeof(region);
         address = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            bytes += region.RegionSize;
    return bytes / kilobyte;
}

constexpr std::size_t mostPasses = 16;

// Not a constant: unrolled, the loop over the passes would call from a new place in each, which the
// library's memory of resolved addresses takes note of.
std::size_t Passes() {
    constexpr std::size_t usualPasses = 4;
    const char* const wanted = std::getenv("KQ_LEAK_PASSES");
    return wanted != nullptr ? std::min<std::size_t>(std::strtoul(wanted, nullptr, 10), mostPasses)
                             : usualPasses;
}

/// The filter for the tests that are quick enough, the quickest first, and for one at least.
std::string QuickTests() {
    constexpr testing::TimeInMillis budget = 2'000;
    std::vector<const testing::TestInfo*> tests;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i != all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; j != suite.total_test_count(); ++j)
            if (suite.GetTestInfo(j)->should_run())
                tests.push_back(suite.GetTestInfo(j));
    }
    const auto time = [](const testing::TestInfo* test) { return test->result()->elapsed_time(); };
    std::stable_sort(tests.begin(), tests.end(),
                     [&](auto* a, auto* b) { return time(a) < time(b); });
    std::string filter;
    testing::TimeInMillis total = 0;
    for (const testing::TestInfo* const test : tests) {
        total += time(test);
        if (total > budget && !filter.empty())
            break;
        filter += std::string(test->test_suite_name()) + "." + test->name() + ":";
    }
    return filter;
}

/// Says nothing but what fails.
class FailurePrinter final : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& part) override {
        if (!part.failed())
            return;
        const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
        std::printf("%s.%s in a repetition: %s:%d: %s\n",
                    test != nullptr ? test->test_suite_name() : "",
                    test != nullptr ? test->name() : "",
                    part.file_name() != nullptr ? part.file_name() : "", part.line_number(),
                    part.message());
    }
};

/// What there is when the threads that the tests have left to themselves have come to rest: at once
/// when there is no more than before.
Belongings WhatStays(const Belongings& before) {
    constexpr ULONGLONG patience = 3'000;
    constexpr DWORD pause = 100;
    const ULONGLONG begin = GetTickCount64();
    Belongings now = Belongings::Now();
    while (now.HaveGrownSince(before) && GetTickCount64() - begin < patience) {
        Sleep(pause);
        now = Belongings::Now();
    }
    return now;
}

} // namespace

Belongings Belongings::Now() { return {OpenHandles(), BlocksOfAllHeaps(), PrivateKilobytes()}; }

bool Belongings::HaveGrownSince(const Belongings& before) const noexcept {
    constexpr std::size_t room = 192;
    return handles > before.handles || blocks > before.blocks ||
           kilobytes > before.kilobytes + room;
}

bool LeaveNothingBehind() {
    const std::size_t passes = Passes();
    if (passes == 0)
        return true;
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    const std::unique_ptr<testing::TestEventListener> printer(
        listeners.Release(listeners.default_result_printer()));
    listeners.Append(new FailurePrinter);
    GTEST_FLAG_SET(filter, QuickTests());

    std::array<Belongings, mostPasses + 1> levels{Belongings::Now()};
    for (std::size_t pass = 0; pass != passes; ++pass) {
        if (RUN_ALL_TESTS() != 0)
            return false;
        levels[pass + 1] = WhatStays(levels[pass]);
        if (!levels[pass + 1].HaveGrownSince(levels[pass]))
            return true;
    }
    std::printf("kq tests: every repetition leaves something behind:\n");
    for (std::size_t i = 0; i != passes + 1; ++i)
        std::printf("  %zu handles, %zu blocks, %zu KiB\n", levels[i].handles, levels[i].blocks,
                    levels[i].kilobytes);
    return false;
}

} // namespace kq_test
