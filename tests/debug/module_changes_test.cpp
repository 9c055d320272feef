#include <windows.h>

#include <kq/debug/symbol_handler.h>
#include <kq/win32/module.h>

#include "support/caller_library.h"
#include "support/captured_stacks.h"
#include "support/stack_entries.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <boost/filesystem/path.hpp>

#include <cstdint>
#include <string>

using kq::debug::CallStackEntry;
using kq::debug::symbolHandler;
using kq_test::CallerLibrary;
using kq_test::CaptureIn;
using kq_test::FileNameOf;
using kq_test::FindFrame;
using kq_test::Stack;

namespace {

// They ask for the same base.
constexpr const wchar_t* firstFile = L"kq_test_first_caller.dll";
constexpr const wchar_t* secondFile = L"kq_test_second_caller.dll";

TEST(ModuleChanges, AModuleLoadedLaterIsResolved) {
    symbolHandler->GetCallStack();
    const CallerLibrary library(firstFile);
    const Stack stack = CaptureIn(library);
    const CallStackEntry* const frame = FindFrame(stack, "FirstCaller");
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(FileNameOf(frame->moduleName), firstFile);
    EXPECT_EQ(FileNameOf(frame->fileName), "caller.cpp");
    EXPECT_NE(frame->lineNumber, 0u);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(ModuleChanges, AnotherLibraryAtTheSameBaseShowsItsOwnNames) {
    std::uint64_t base = 0;
    {
        const CallerLibrary first(firstFile);
        base = first.Base();
        EXPECT_NE(FindFrame(CaptureIn(first), "FirstCaller"), nullptr);
    }
    const CallerLibrary second(secondFile);
    ASSERT_EQ(second.Base(), base);
    const Stack stack = CaptureIn(second);
    EXPECT_EQ(FindFrame(stack, "FirstCaller"), nullptr);
    const CallStackEntry* const frame = FindFrame(stack, "SecondCaller");
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(FileNameOf(frame->moduleName), secondFile);
}

TEST(ModuleChanges, AnotherLibraryAtTheSameBaseShowsItsOwnNamesAfterARefreshBetween) {
    std::uint64_t base = 0;
    {
        const CallerLibrary first(firstFile);
        base = first.Base();
        EXPECT_NE(FindFrame(CaptureIn(first), "FirstCaller"), nullptr);
    }
    symbolHandler->RefreshModuleList();
    const CallerLibrary second(secondFile);
    ASSERT_EQ(second.Base(), base);
    symbolHandler->RefreshModuleList();
    EXPECT_NE(FindFrame(CaptureIn(second), "SecondCaller"), nullptr);
}

TEST(ModuleChanges, AReplacedFileShowsItsNewNames) {
    TemporaryFolder folder;
    const std::wstring file = folder.Path() + L"\\caller.dll";
    const boost::filesystem::path programs = kq::win32::GetExecutableFilename().parent_path();
    folder.CopyTo((programs / firstFile).wstring(), file);
    {
        const CallerLibrary first(file);
        EXPECT_NE(FindFrame(CaptureIn(first), "FirstCaller"), nullptr);
    }
    // Lets go of the file.
    symbolHandler->RefreshModuleList();
    ASSERT_TRUE(CopyFileW((programs / secondFile).c_str(), file.c_str(), FALSE)) << GetLastError();
    {
        const CallerLibrary second(file);
        EXPECT_NE(FindFrame(CaptureIn(second), "SecondCaller"), nullptr);
    }
    symbolHandler->RefreshModuleList();
}

TEST(ModuleChanges, AnUnloadedModuleDoesNotDisturb) {
    { CaptureIn(CallerLibrary(firstFile)); }
    const Stack stack = symbolHandler->GetCallStack();
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(ModuleChanges, BeforeVeryManyOthersAreNoticed) {
    {
        const CallerLibrary first(firstFile);
        EXPECT_NE(FindFrame(CaptureIn(first), "FirstCaller"), nullptr);
    }
    const CallerLibrary second(secondFile);
    for (int round = 0; round != 1'000; ++round)
        const CallerLibrary other(L"kq_test_bare_caller.dll");
    const Stack stack = CaptureIn(second);
    EXPECT_NE(FindFrame(stack, "SecondCaller"), nullptr);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

TEST(ModuleChanges, AreNoticedBetweenAllStacks) {
    for (int round = 0; round != 20; ++round) {
        const CallerLibrary first(firstFile);
        EXPECT_NE(FindFrame(CaptureIn(first), "FirstCaller"), nullptr) << round;
    }
}

} // namespace
