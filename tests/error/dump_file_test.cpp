#include "error/dump_file.h"

#include "support/failing_heap.h"
#include "support/minidump.h"
#include "support/open_symbols.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <string>

using kq::error::WriteDumpFile;

namespace {

// What the writer of the last call was given, and found.
struct Call {
    int count = 0;
    HANDLE process = nullptr;
    DWORD processId = 0;
    MINIDUMP_TYPE type = MiniDumpWithFullMemory;
    MINIDUMP_EXCEPTION_INFORMATION exception{};
    bool hasStreams = true;
    bool hasCallback = true;
    DWORD errorOfOthers = 0;
    BOOL answer = TRUE;
};
Call call;
std::wstring name;

DWORD ErrorOfOpening() {
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(file);
    return ERROR_SUCCESS;
}

BOOL WINAPI Write(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                  PMINIDUMP_EXCEPTION_INFORMATION exception,
                  PMINIDUMP_USER_STREAM_INFORMATION streams,
                  PMINIDUMP_CALLBACK_INFORMATION callback) {
    ++call.count;
    call.process = process;
    call.processId = processId;
    call.type = type;
    call.exception = *exception;
    call.hasStreams = streams != nullptr;
    call.hasCallback = callback != nullptr;
    call.errorOfOthers = ErrorOfOpening();
    DWORD written = 0;
    WriteFile(file, "begun", 5, &written, nullptr);
    return call.answer;
}

class DumpFile : public testing::Test {
protected:
    DumpFile() {
        call = Call();
        name = folder_.NewFile(L"x.dmp");
    }

    static std::string Content() {
        const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return "(cannot be opened)";
        char text[100] = "";
        DWORD read = 0;
        ReadFile(file, text, sizeof text, &read, nullptr);
        CloseHandle(file);
        return {text, read};
    }

    EXCEPTION_RECORD record_{};
    CONTEXT context_{};
    EXCEPTION_POINTERS pointers_{&record_, &context_};

private:
    TemporaryFolder folder_;
};

TEST_F(DumpFile, IsWrittenByThePlatformAboutThisThreadAndProcess) {
    EXPECT_TRUE(WriteDumpFile(name.c_str(), &pointers_, Write));
    EXPECT_EQ(call.count, 1);
    EXPECT_EQ(call.process, GetCurrentProcess());
    EXPECT_EQ(call.processId, GetCurrentProcessId());
    EXPECT_EQ(call.type, MiniDumpNormal);
    EXPECT_EQ(call.exception.ThreadId, GetCurrentThreadId());
    EXPECT_EQ(call.exception.ExceptionPointers, &pointers_);
    EXPECT_EQ(call.exception.ClientPointers, FALSE);
    EXPECT_FALSE(call.hasStreams);
    EXPECT_FALSE(call.hasCallback);
}

TEST_F(DumpFile, IsSharedWithNobodyUntilItIsComplete) {
    EXPECT_TRUE(WriteDumpFile(name.c_str(), &pointers_, Write));
    EXPECT_EQ(call.errorOfOthers, static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(ErrorOfOpening(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(Content(), "begun");
}

TEST_F(DumpFile, StaysAsItIsWhenTheWriterFails) {
    call.answer = FALSE;
    EXPECT_FALSE(WriteDumpFile(name.c_str(), &pointers_, Write));
    EXPECT_EQ(call.count, 1);
    EXPECT_EQ(Content(), "begun");
}

TEST_F(DumpFile, ReplacesAnEarlierOne) {
    const HANDLE earlier = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(earlier, "a longer content than that", 26, &written, nullptr));
    CloseHandle(earlier);
    EXPECT_TRUE(WriteDumpFile(name.c_str(), &pointers_, Write));
    EXPECT_EQ(Content(), "begun");
}

TEST_F(DumpFile, IsNotWrittenWhereItCannotBeCreated) {
    EXPECT_FALSE(WriteDumpFile((name + L"\\in\\a.dmp").c_str(), &pointers_, Write));
    EXPECT_FALSE(WriteDumpFile(L"", &pointers_, Write));
    EXPECT_EQ(call.count, 0);
    EXPECT_EQ(GetFileAttributesW(name.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(DumpFile, IsLeftAloneWhileSomebodyHasItOpen) {
    const HANDLE open = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(open, "mine", 4, &written, nullptr));
    EXPECT_FALSE(WriteDumpFile(name.c_str(), &pointers_, Write));
    EXPECT_EQ(call.count, 0);
    CloseHandle(open);
    EXPECT_EQ(Content(), "mine");
}

TEST_F(DumpFile, NeedsNoMemoryOfItsOwn) {
    OpenSymbols();
    RtlCaptureContext(&context_);
    record_.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    bool isWritten = false;
    {
        const kq_test::FailingHeap heap(0);
        isWritten = WriteDumpFile(name.c_str(), &pointers_);
    }
    ASSERT_TRUE(isWritten);
    EXPECT_EQ(kq_test::Minidump::Read(name).Exception().ExceptionRecord.ExceptionCode,
              static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
}

} // namespace
