#include <windows.h>

#include <kq/debug/symbol_handler.h>

#include "support/caller_library.h"
#include "support/captured_stacks.h"
#include "support/stack_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

using kq::debug::CallStackEntry;
using kq::debug::symbolHandler;
using kq_test::CallerLibrary;
using kq_test::CaptureIn;
using kq_test::FileNameOf;
using kq_test::FindFrame;
using kq_test::Stack;

namespace {

bool HasFrameIn(const Stack& stack, const std::wstring& module) {
    return std::any_of(stack.begin(), stack.end(), [&](const CallStackEntry& entry) {
        return FileNameOf(entry.moduleName) == module;
    });
}

TEST(ForeignFrames, OfAModuleWithoutSymbolsKeepTheModuleAndTheFramesBelow) {
    const CallerLibrary library(L"kq_test_bare_caller.dll");
    const Stack stack = CaptureIn(library);
    EXPECT_TRUE(HasFrameIn(stack, L"kq_test_bare_caller.dll"));
    EXPECT_EQ(FindFrame(stack, "BareCaller"), nullptr);
    for (const CallStackEntry& entry : stack)
        if (FileNameOf(entry.moduleName) == L"kq_test_bare_caller.dll") {
            EXPECT_TRUE(entry.fileName.empty());
            EXPECT_EQ(entry.lineNumber, 0u);
        }
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
    EXPECT_EQ(stack.back().symbolName, "RtlUserThreadStart");
}

TEST(ForeignFrames, OfGccAreResolved) {
    const CallerLibrary library(L"kq_test_gcc_caller.dll");
    const Stack stack = CaptureIn(library);
    const CallStackEntry* const frame = FindFrame(stack, "GccCaller");
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(FileNameOf(frame->moduleName), L"kq_test_gcc_caller.dll");
    EXPECT_EQ(FileNameOf(frame->fileName), "caller.cpp");
    EXPECT_NE(frame->lineNumber, 0u);
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
}

/// Code that calls the function in its first argument, made at run time, and what the system has to
/// know to unwind it.
class GeneratedCode {
public:
    GeneratedCode()
        : page_(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, pageSize, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE))) {
        // sub rsp, 40; mov rax, rcx; mov rcx, rdx; call rax; add rsp, 40; ret
        const unsigned char code[] = {0x48, 0x83, 0xEC, 0x28, 0x48, 0x89, 0xC8, 0x48, 0x89,
                                      0xD1, 0xFF, 0xD0, 0x48, 0x83, 0xC4, 0x28, 0xC3};
        // Version 1, a prologue of 4 bytes, one code: at offset 4, UWOP_ALLOC_SMALL of 40 bytes.
        const unsigned char unwindInfo[] = {1, 4, 1, 0, 4, 0x42, 0, 0};
        std::memcpy(page_, code, sizeof(code));
        std::memcpy(page_ + unwindInfoAt, unwindInfo, sizeof(unwindInfo));
        function_.BeginAddress = 0;
        function_.EndAddress = sizeof(code);
        function_.UnwindData = unwindInfoAt;
        RtlAddFunctionTable(&function_, 1, reinterpret_cast<std::uint64_t>(page_));
    }
    ~GeneratedCode() {
        RtlDeleteFunctionTable(&function_);
        VirtualFree(page_, 0, MEM_RELEASE);
    }
    GeneratedCode(const GeneratedCode&) = delete;
    GeneratedCode& operator=(const GeneratedCode&) = delete;

    void Call(void (*function)(void*), void* argument) const {
        using Code = void (*)(void (*)(void*), void*);
        reinterpret_cast<Code>(reinterpret_cast<void*>(page_))(function, argument);
    }

    bool Holds(std::uint64_t address) const {
        return address - reinterpret_cast<std::uint64_t>(page_) < pageSize;
    }

private:
    static constexpr std::size_t pageSize = 4096;
    static constexpr DWORD unwindInfoAt = 1024;

    unsigned char* page_;
    RUNTIME_FUNCTION function_{};
};

TEST(ForeignFrames, OfCodeMadeAtRunTimeKeepTheirAddressAndTheFramesBelow) {
    const GeneratedCode code;
    Stack stack;
    code.Call(
        [](void* argument) { *static_cast<Stack*>(argument) = symbolHandler->GetCallStack(); },
        &stack);
    const auto frame = std::find_if(stack.begin(), stack.end(), [&](const CallStackEntry& entry) {
        return code.Holds(entry.address);
    });
    ASSERT_NE(frame, stack.end());
    EXPECT_TRUE(frame->symbolName.empty());
    EXPECT_TRUE(frame->moduleName.empty());
    EXPECT_TRUE(frame->fileName.empty());
    EXPECT_NE(FindFrame(stack, "TestBody"), nullptr);
    EXPECT_EQ(stack.back().symbolName, "RtlUserThreadStart");
}

} // namespace
