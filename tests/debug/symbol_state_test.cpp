#include "debug/symbol_state.h"

#include "debug/loaded_modules.h"
#include "debug/platform_debug_help.h"
#include "support/caller_library.h"
#include "support/stack_entries.h"
#include "support/thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

using kq::debug::CallStackEntry;
using kq::debug::ModuleRanges;
using kq::debug::PlatformDebugHelp;
using kq::debug::SymbolState;
using kq_test::CallerLibrary;
using kq_test::CountFrames;
using kq_test::FindFrame;
using kq_test::Stack;

namespace {

constexpr const wchar_t* firstFile = L"kq_test_first_caller.dll";
constexpr const wchar_t* secondFile = L"kq_test_second_caller.dll";

/// The platform's debug-help, with or without `SymRefreshModuleList`, that notes what it is asked
/// and fails when it is told to.
class ObservedDebugHelp final : public PlatformDebugHelp {
public:
    explicit ObservedDebugHelp(bool canRefresh = true)
        : PlatformDebugHelp(GetCurrentProcess(), canRefresh ? &SymRefreshModuleList : nullptr) {}

    bool Open(bool withModules) noexcept override {
        if (failsToOpen)
            return false;
        ++(withModules ? opensWithModules : opensWithout);
        return PlatformDebugHelp::Open(withModules);
    }
    bool Close() noexcept override {
        if (failsToClose)
            return false;
        ++closes;
        return PlatformDebugHelp::Close();
    }
    void Refresh() noexcept override {
        ++refreshes;
        PlatformDebugHelp::Refresh();
    }
    void LoadModule(const std::wstring& file, std::uint64_t base,
                    std::uint32_t size) noexcept override {
        loads.push_back(base);
        PlatformDebugHelp::LoadModule(file, base, size);
    }
    void UnloadModule(std::uint64_t base) noexcept override {
        unloads.push_back(base);
        PlatformDebugHelp::UnloadModule(base);
    }
    void Resolve(CallStackEntry& entry) override {
        resolved.push_back(entry.address);
        if (resolvesNothing)
            return;
        PlatformDebugHelp::Resolve(entry);
    }
    bool WalkFrame(STACKFRAME64& frame, CONTEXT& context,
                   const ModuleRanges& modules) noexcept override {
        if (framesUntilFailure-- == 0)
            return false;
        if (standsStill) {
            frame.AddrReturn.Offset = frame.AddrPC.Offset + 1;
            return true;
        }
        return PlatformDebugHelp::WalkFrame(frame, context, modules);
    }

    bool failsToOpen = false;
    bool failsToClose = false;
    bool resolvesNothing = false;
    bool standsStill = false;
    int framesUntilFailure = -1;

    int opensWithModules = 0;
    int opensWithout = 0;
    int closes = 0;
    int refreshes = 0;
    std::vector<std::uint64_t> loads;
    std::vector<std::uint64_t> unloads;
    std::vector<std::uint64_t> resolved;
};

[[gnu::noinline]] Stack Capture(SymbolState& state) {
    Stack stack;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    RtlCaptureContext(&context);
    state.Walk(context, stack);
    return stack;
}

volatile int sink = 0;

[[gnu::noinline]] Stack Pong(SymbolState& state, int depth);

[[gnu::noinline]] Stack Ping(SymbolState& state, int depth) {
    Stack stack = depth <= 1 ? Capture(state) : Pong(state, depth - 1);
    sink = sink + 1;
    return stack;
}

[[gnu::noinline]] Stack Pong(SymbolState& state, int depth) {
    Stack stack = depth <= 1 ? Capture(state) : Ping(state, depth - 1);
    sink = sink + 2;
    return stack;
}

Stack CaptureIn(const CallerLibrary& library, SymbolState& state) {
    Stack stack;
    library.Call([&] { stack = Capture(state); });
    return stack;
}

SYM_TYPE SymbolsOf(std::uint64_t address) {
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    EXPECT_TRUE(SymGetModuleInfoW64(GetCurrentProcess(), address, &module));
    return module.SymType;
}

TEST(OpeningTheSymbolState, FailsWhenDebugHelpDoes) {
    ObservedDebugHelp help;
    help.failsToOpen = true;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { const SymbolState state(help); }),
              "Failed to initialize symbol handler!");
    EXPECT_EQ(help.closes, 0);
}

TEST(OpeningTheSymbolState, LoadsNoModulesAndIsUndoneAtTheEnd) {
    ObservedDebugHelp help;
    {
        const SymbolState state(help);
        EXPECT_EQ(help.opensWithout, 1);
        EXPECT_EQ(help.closes, 0);
    }
    EXPECT_EQ(help.opensWithModules, 0);
    EXPECT_TRUE(help.loads.empty());
    EXPECT_EQ(help.closes, 1);
}

TEST(Refreshing, MakesEveryLoadedModuleKnown) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const std::vector<std::uint64_t> loaded = kq::debug::LoadedModuleBases();
    EXPECT_GE(loaded.size(), 3u);
    for (const std::uint64_t base : loaded)
        EXPECT_TRUE(help.HasModule(base));
    EXPECT_EQ(help.refreshes, 1);
}

TEST(Refreshing, AsksForNothingWhenNothingIsNew) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const std::size_t loads = help.loads.size();
    for (int round = 0; round != 1'000; ++round)
        state.Refresh();
    EXPECT_EQ(help.refreshes, 1);
    EXPECT_EQ(help.loads.size(), loads);
    EXPECT_TRUE(help.unloads.empty());
    EXPECT_EQ(help.closes, 0);
}

TEST(Refreshing, AddsAndRemovesOnlyTheModulesThatCameAndWent) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    std::uint64_t base = 0;
    {
        const CallerLibrary library(firstFile);
        base = library.Base();
        help.loads.clear();
        state.Refresh();
        EXPECT_TRUE(help.HasModule(base));
        EXPECT_LE(help.loads.size(), 1u); // none where debug-help's own refreshing works
        EXPECT_TRUE(help.unloads.empty());
    }
    state.Refresh();
    EXPECT_FALSE(help.HasModule(base));
    EXPECT_EQ(help.unloads, std::vector<std::uint64_t>{base});
}

TEST(Refreshing, ReplacesAModuleThatWasLoadedAgain) {
    ObservedDebugHelp help;
    SymbolState state(help);
    { const CallerLibrary library(firstFile); }
    std::uint64_t base = 0;
    {
        const CallerLibrary library(firstFile);
        base = library.Base();
        state.Refresh();
    }
    const CallerLibrary library(firstFile);
    ASSERT_EQ(library.Base(), base);
    state.Refresh();
    EXPECT_EQ(help.unloads, std::vector<std::uint64_t>{base});
    EXPECT_TRUE(help.HasModule(base));
}

TEST(Refreshing, LeavesTheSymbolsOfModulesUnreadUntilAnAddressIsResolved) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const auto base = reinterpret_cast<std::uint64_t>(GetModuleHandleW(L"ntdll.dll"));
    const auto address = reinterpret_cast<std::uint64_t>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtClose")));
    for (const std::uint64_t loaded : kq::debug::LoadedModuleBases())
        EXPECT_EQ(SymbolsOf(loaded), SymDeferred);
    EXPECT_FALSE(state.Resolve(address).symbolName.empty());
    EXPECT_NE(SymbolsOf(base), SymDeferred);
}

TEST(RefreshingByReopening, MakesAModuleLoadedLaterResolve) {
    ObservedDebugHelp help(false);
    SymbolState state(help);
    state.Refresh();
    const CallerLibrary library(firstFile);
    const int closes = help.closes;
    const int opens = help.opensWithModules;
    state.Refresh();
    EXPECT_EQ(help.closes, closes + 1);
    EXPECT_EQ(help.opensWithModules, opens + 1);
    EXPECT_EQ(help.opensWithout, 1);
    const Stack stack = CaptureIn(library, state);
    EXPECT_NE(FindFrame(stack, "FirstCaller"), nullptr);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(RefreshingByReopening, ShowsTheNewNamesOfAnotherLibraryAtTheSameBase) {
    ObservedDebugHelp help(false);
    SymbolState state(help);
    {
        const CallerLibrary first(firstFile);
        state.Refresh();
        EXPECT_NE(FindFrame(CaptureIn(first, state), "FirstCaller"), nullptr);
    }
    const CallerLibrary second(secondFile);
    state.Refresh();
    EXPECT_NE(FindFrame(CaptureIn(second, state), "SecondCaller"), nullptr);
}

TEST(RefreshingByReopening, DoesNotReopenWhenNothingIsNew) {
    ObservedDebugHelp help(false);
    SymbolState state(help);
    state.Refresh();
    for (int round = 0; round != 1'000; ++round)
        state.Refresh();
    EXPECT_EQ(help.closes, 1);
    EXPECT_EQ(help.opensWithModules, 1);
}

TEST(RefreshingByReopening, FailsWhenClosingDoesAndAgainUntilItWorks) {
    ObservedDebugHelp help(false);
    SymbolState state(help);
    help.failsToClose = true;
    for (int round = 0; round != 2; ++round)
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { state.Refresh(); }),
                  "Failed to refresh module list!");
    help.failsToClose = false;
    state.Refresh();
    EXPECT_NE(FindFrame(Capture(state), "TestBody"), nullptr);
}

TEST(RefreshingByReopening, FailsWhenOpeningDoes) {
    ObservedDebugHelp help(false);
    SymbolState state(help);
    help.failsToOpen = true;
    for (int round = 0; round != 2; ++round)
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { state.Refresh(); }),
                  "Failed to refresh module list!");
}

TEST(Resolving, AsksOnceForAnAddress) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const Stack first = Ping(state, 1'000);
    EXPECT_EQ(CountFrames(first, "Ping"), 500u);
    std::vector<std::uint64_t> addresses = help.resolved;
    std::sort(addresses.begin(), addresses.end());
    EXPECT_EQ(std::adjacent_find(addresses.begin(), addresses.end()), addresses.end());
    EXPECT_LT(addresses.size(), 100u);

    const std::size_t asked = help.resolved.size();
    const Stack second = Ping(state, 1'000);
    EXPECT_EQ(CountFrames(second, "Pong"), 500u);
    // At most the frame of this test is at another place.
    EXPECT_LE(help.resolved.size(), asked + 1);
}

TEST(Resolving, AsksAgainAfterModulesHaveChanged) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const auto address = reinterpret_cast<std::uint64_t>(&Capture);
    state.Resolve(address);
    state.Resolve(address);
    EXPECT_EQ(help.resolved.size(), 1u);
    { const CallerLibrary library(firstFile); }
    state.Refresh();
    state.Resolve(address);
    EXPECT_EQ(help.resolved.size(), 2u);
}

TEST(Resolving, RemembersALimitedNumberOfAddresses) {
    ObservedDebugHelp help;
    help.resolvesNothing = true;
    SymbolState state(help);
    constexpr std::uint64_t count = 200'000;
    for (std::uint64_t address = 1; address != count + 1; ++address)
        ASSERT_EQ(state.Resolve(address).address, address);
    EXPECT_EQ(help.resolved.size(), count);
    state.Resolve(count);
    EXPECT_EQ(help.resolved.size(), count);
    state.Resolve(1);
    EXPECT_EQ(help.resolved.size(), count + 1);
}

TEST(Resolving, LeavesEmptyWhatIsNotFound) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const CallStackEntry& entry = state.Resolve(1);
    EXPECT_EQ(entry.address, 1u);
    EXPECT_TRUE(entry.symbolName.empty());
    EXPECT_TRUE(entry.moduleName.empty());
    EXPECT_TRUE(entry.fileName.empty());
    EXPECT_EQ(entry.lineNumber, 0u);
    EXPECT_EQ(entry.lineDisplacement, 0u);
}

TEST(Resolving, KnowsTheExportsOfAModuleWithoutSymbolsByReadableNames) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    const CallerLibrary library(L"kq_test_bare_caller.dll");
    state.Refresh();
    const auto* const call = reinterpret_cast<const void*>(
        GetProcAddress(GetModuleHandleW(L"kq_test_bare_caller.dll"), "KqTestCall"));
    EXPECT_EQ(state.Resolve(reinterpret_cast<std::uint64_t>(call)).symbolName, "KqTestCall");
}

TEST(Walking, FailsWhenDebugHelpDoesWhereverThatIs) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    for (int frames = 0; frames != 3; ++frames) {
        help.framesUntilFailure = frames;
        EXPECT_EQ(ThrownText<std::runtime_error>([&] { Capture(state); }),
                  "Failed to walk the call stack!");
    }
    help.framesUntilFailure = -1;
    EXPECT_NE(FindFrame(Capture(state), "TestBody"), nullptr);
}

TEST(Walking, DoesNotFollowAFrameThatLeadsToItself) {
    ObservedDebugHelp help;
    SymbolState state(help);
    help.standsStill = true;
    CONTEXT context{};
    context.Rip = 1;
    context.Rsp = 2;
    Stack stack;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { state.Walk(context, stack); }),
              "Failed to walk the call stack!");
}

TEST(Walking, FailsOnAStackThatCannotBeRead) {
    ObservedDebugHelp help;
    SymbolState state(help);
    state.Refresh();
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    RtlCaptureContext(&context);
    // Nothing is mapped there.
    context.Rsp = 0x1000;
    context.Rbp = 0x1000;
    Stack stack;
    EXPECT_EQ(ThrownText<std::runtime_error>([&] { state.Walk(context, stack); }),
              "Failed to walk the call stack!");
}

} // namespace
