#include "xml/save_by_replacing.h"

#include "support/file_bytes.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using boost::filesystem::path;
using kq::xml::SaveByReplacing;
using namespace kq_test;

namespace {

class SaveByReplacingTest : public testing::Test {
protected:
    // Saves "new" over `file`, and says where it was written.
    std::vector<path> Save(const path& file, HRESULT expected = S_OK) {
        std::vector<path> places;
        EXPECT_EQ(SaveByReplacing(file,
                                  [&](const path& place) {
                                      places.push_back(place);
                                      WriteBytes(place.native(), "new");
                                      return S_OK;
                                  }),
                  expected);
        return places;
    }

    const ScratchFolder folder_;
    const path file_ = folder_ / L"file.xml";
};

TEST_F(SaveByReplacingTest, WritesANewFileInItsPlace) {
    EXPECT_EQ(Save(file_), std::vector<path>{file_});
    EXPECT_EQ(ReadBytes(file_.native()), "new");
}

TEST_F(SaveByReplacingTest, ReplacesAFileByAFinishedOne) {
    WriteBytes(file_.native(), "old");
    std::string meanwhile;
    path place;
    EXPECT_EQ(SaveByReplacing(file_,
                              [&](const path& other) {
                                  place = other;
                                  WriteBytes(other.native(), "new");
                                  meanwhile = ReadBytes(file_.native());
                                  return S_OK;
                              }),
              S_OK);
    EXPECT_EQ(meanwhile, "old");
    EXPECT_NE(place, file_);
    EXPECT_EQ(place.parent_path(), folder_.Path());
    EXPECT_EQ(ReadBytes(file_.native()), "new");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(SaveByReplacingTest, LeavesAFileAsItWasWhenItFails) {
    WriteBytes(file_.native(), "old");
    int calls = 0;
    EXPECT_EQ(SaveByReplacing(file_,
                              [&](const path& place) {
                                  ++calls;
                                  WriteBytes(place.native(), "half of the n");
                                  return E_OUTOFMEMORY;
                              }),
              E_OUTOFMEMORY);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(ReadBytes(file_.native()), "old");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(SaveByReplacingTest, LeavesAFileAsItWasWhenAnExceptionPasses) {
    WriteBytes(file_.native(), "old");
    EXPECT_THROW(SaveByReplacing(file_, [](const path&) -> HRESULT { throw 17; }), int);
    EXPECT_EQ(ReadBytes(file_.native()), "old");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(SaveByReplacingTest, TakesRelativePaths) {
    WriteBytes(file_.native(), "old");
    const path before = boost::filesystem::current_path();
    boost::filesystem::current_path(folder_.Path());
    const auto places = Save(L"file.xml");
    boost::filesystem::current_path(before);
    EXPECT_EQ(places.size(), 1u);
    EXPECT_EQ(ReadBytes(file_.native()), "new");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(SaveByReplacingTest, RefusesAReadOnlyFile) {
    WriteBytes(file_.native(), "old");
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(Save(file_, E_ACCESSDENIED).empty());
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(file_.native()), "old");
    EXPECT_EQ(folder_.Entries(), 1);
}

TEST_F(SaveByReplacingTest, OverwritesAFileWithSeveralNames) {
    WriteBytes(file_.native(), "old");
    const path other = folder_ / L"other.xml";
    ASSERT_TRUE(CreateHardLinkW(other.c_str(), file_.c_str(), nullptr));
    EXPECT_EQ(Save(file_), std::vector<path>{file_});
    EXPECT_EQ(ReadBytes(other.native()), "new");
}

TEST_F(SaveByReplacingTest, LeavesFoldersToThePlatform) {
    std::vector<path> places;
    EXPECT_EQ(SaveByReplacing(folder_.Path(),
                              [&](const path& place) {
                                  places.push_back(place);
                                  return E_FAIL;
                              }),
              E_FAIL);
    EXPECT_EQ(places, std::vector<path>{folder_.Path()});
}

TEST_F(SaveByReplacingTest, LeavesEmptyPathsToThePlatform) {
    EXPECT_EQ(
        SaveByReplacing(path(), [](const path& place) { return place.empty() ? E_FAIL : S_OK; }),
        E_FAIL);
}

TEST_F(SaveByReplacingTest, SavesAlsoWhatSomebodyReads) {
    WriteBytes(file_.native(), "old");
    const HANDLE reader =
        CreateFileW(file_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    // It cannot be replaced, but written.
    Save(file_);
    CloseHandle(reader);
    EXPECT_EQ(ReadBytes(file_.native()), "new");
    EXPECT_EQ(folder_.Entries(), 1);
}

} // namespace
