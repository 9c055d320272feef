#include "examine.h"

#include "path.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace find_duplicates {
namespace {

const OnRead doNothing = [](std::size_t) {};

/// A file of its own for each test.
class Examine : public testing::Test {
protected:
    Examine() {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        path_ = ResolveFolder(folder) + L"\\examine_test_" + std::to_wstring(GetCurrentProcessId());
    }
    ~Examine() override { DeleteFileW(path_.c_str()); }

    /// Changes the file at `offset`; its length stays as it is unless the bytes reach beyond it.
    void Write(std::uint64_t offset, const std::string& bytes) {
        HANDLE file = Open(OPEN_ALWAYS);
        Seek(file, offset);
        DWORD written = 0;
        EXPECT_TRUE(
            WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
        CloseHandle(file);
    }

    void Truncate(std::uint64_t length) {
        HANDLE file = Open(OPEN_EXISTING);
        Seek(file, length);
        EXPECT_TRUE(SetEndOfFile(file));
        CloseHandle(file);
    }

    /// Writes what is there already, at a later time.
    void Touch() {
        HANDLE file = Open(OPEN_EXISTING);
        FILETIME time{};
        EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, &time));
        time.dwHighDateTime += 1;
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
        CloseHandle(file);
    }

    Candidate ExamineAll() {
        Candidate candidate;
        ExamineHead(path_, candidate, doNothing);
        if (candidate.state == State::Begun)
            ExamineRest(path_, candidate, doNothing);
        return candidate;
    }

    std::wstring path_;

private:
    HANDLE Open(DWORD creation) {
        const HANDLE file =
            CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, creation, 0, nullptr);
        EXPECT_NE(file, INVALID_HANDLE_VALUE);
        return file;
    }

    static void Seek(HANDLE file, std::uint64_t offset) {
        LARGE_INTEGER distance{};
        distance.QuadPart = static_cast<LONGLONG>(offset);
        EXPECT_TRUE(SetFilePointerEx(file, distance, nullptr, FILE_BEGIN));
    }
};

bool SameDigest(const Candidate& left, const Candidate& right) {
    return std::memcmp(left.digest.bytes, right.digest.bytes, sizeof left.digest.bytes) == 0;
}

TEST_F(Examine, DigestsAShortFileAtOnce) {
    const std::string content = "short";
    Write(0, content);
    Candidate candidate;
    std::size_t read = 0;
    ExamineHead(path_, candidate, [&](std::size_t length) { read += length; });
    EXPECT_EQ(candidate.state, State::Digested);
    EXPECT_EQ(candidate.stamp.size, content.size());
    EXPECT_EQ(read, content.size());
    EXPECT_TRUE(SameDigest(candidate, ExamineAll()));
    Write(0, "SHORT");
    EXPECT_FALSE(SameDigest(candidate, ExamineAll()));
}

TEST_F(Examine, ReadsEveryByteOnceInPiecesOfBoundedLength) {
    const std::uint64_t size = headLength + 2 * std::uint64_t{chunkLength} + 1;
    Write(size - 1, "x");
    Candidate candidate;
    std::uint64_t read = 0;
    const OnRead count = [&](std::size_t length) {
        read += length;
        EXPECT_LE(length, chunkLength);
    };
    ExamineHead(path_, candidate, count);
    EXPECT_EQ(candidate.state, State::Begun);
    EXPECT_EQ(read, headLength);
    ExamineRest(path_, candidate, count);
    EXPECT_EQ(candidate.state, State::Digested);
    EXPECT_EQ(read, size);
}

TEST_F(Examine, SeesADifferenceAtEveryBorder) {
    const std::uint64_t size = headLength + 2 * std::uint64_t{chunkLength};
    Write(size - 1, std::string(1, '\0'));
    const Candidate zeros = ExamineAll();
    EXPECT_TRUE(SameDigest(zeros, ExamineAll()));
    for (const std::uint64_t offset :
         {std::uint64_t{0}, std::uint64_t{headLength} - 1, std::uint64_t{headLength},
          std::uint64_t{headLength} + chunkLength - 1, std::uint64_t{headLength} + chunkLength,
          size - 1}) {
        Write(offset, "x");
        EXPECT_FALSE(SameDigest(zeros, ExamineAll())) << offset;
        Write(offset, std::string(1, '\0'));
    }
    EXPECT_TRUE(SameDigest(zeros, ExamineAll()));
}

TEST_F(Examine, NoticesThatTheFileGrowsWhileItIsRead) {
    Write(0, "short");
    Candidate candidate;
    ExamineHead(path_, candidate, [&](std::size_t) { Write(5, "er"); });
    EXPECT_EQ(candidate.state, State::Changed);
}

TEST_F(Examine, NoticesThatTheFileShrinksWhileItIsRead) {
    Write(headLength + 2 * std::uint64_t{chunkLength}, "x");
    Candidate candidate;
    ExamineHead(path_, candidate, doNothing);
    ASSERT_EQ(candidate.state, State::Begun);
    ExamineRest(path_, candidate, [&](std::size_t) { Truncate(headLength); });
    EXPECT_EQ(candidate.state, State::Changed);
}

TEST_F(Examine, NoticesThatTheFileIsWrittenWhileItIsRead) {
    Write(headLength, "x");
    Candidate candidate;
    ExamineHead(path_, candidate, doNothing);
    ASSERT_EQ(candidate.state, State::Begun);
    ExamineRest(path_, candidate, [&](std::size_t) { Touch(); });
    EXPECT_EQ(candidate.state, State::Changed);
}

TEST_F(Examine, NoticesThatTheFileIsWrittenBetweenTheTwoLooks) {
    Write(headLength, "x");
    Candidate candidate;
    ExamineHead(path_, candidate, doNothing);
    ASSERT_EQ(candidate.state, State::Begun);
    Touch();
    ExamineRest(path_, candidate, [](std::size_t) { ADD_FAILURE() << "it has been read again"; });
    EXPECT_EQ(candidate.state, State::Changed);
}

TEST_F(Examine, NotesWhyAFileCannotBeRead) {
    Candidate candidate;
    ExamineHead(path_, candidate, doNothing);
    EXPECT_EQ(candidate.state, State::Unreadable);
    EXPECT_EQ(candidate.error, static_cast<unsigned long>(ERROR_FILE_NOT_FOUND));
}

TEST_F(Examine, LeavesAFileUndecidedWhenReadingIsBrokenOff) {
    struct Stop {};
    Write(headLength, "x");
    Candidate candidate;
    ExamineHead(path_, candidate, doNothing);
    ASSERT_EQ(candidate.state, State::Begun);
    EXPECT_THROW(ExamineRest(path_, candidate, [](std::size_t) { throw Stop(); }), Stop);
    EXPECT_EQ(candidate.state, State::Begun);
}

TEST_F(Examine, KnowsAFileByAllItsNames) {
    Write(0, "content");
    const std::wstring otherName = path_ + L"_link";
    ASSERT_TRUE(CreateHardLinkW(otherName.c_str(), path_.c_str(), nullptr));
    const Candidate one = ExamineAll();
    Candidate other;
    ExamineHead(otherName, other, doNothing);
    EXPECT_TRUE(DeleteFileW(otherName.c_str()));
    EXPECT_TRUE(one.hasOtherNames);
    EXPECT_TRUE(other.hasOtherNames);
    EXPECT_EQ(one.id, other.id);
    EXPECT_FALSE(ExamineAll().hasOtherNames);
}

} // namespace
} // namespace find_duplicates
