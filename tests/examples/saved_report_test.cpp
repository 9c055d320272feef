#include "saved_report.h"

#include "support/file_bytes.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <string>

namespace find_duplicates {
namespace {

class SavedReportTest : public testing::Test {
protected:
    const kq_test::ScratchFolder folder_;
    const std::wstring file_ = (folder_ / L"report.xml").native();
};

void ExpectEqual(const SavedReport& left, const SavedReport& right) {
    EXPECT_EQ(left.folder, right.folder);
    EXPECT_EQ(left.complete, right.complete);
    ASSERT_EQ(left.groups.size(), right.groups.size());
    for (std::size_t group = 0; group != left.groups.size(); ++group) {
        EXPECT_EQ(left.groups[group].size, right.groups[group].size);
        EXPECT_EQ(left.groups[group].digest, right.groups[group].digest);
        EXPECT_EQ(left.groups[group].copies, right.groups[group].copies);
    }
}

TEST_F(SavedReportTest, IsReadAsItWasWritten) {
    const SavedReport report = {L"C:\\folder <&> \u00e4",
                                true,
                                {{18'446'744'073'709'551'615u,
                                  L"00ff",
                                  {{L"C:\\a"}, {L"C:\\ b ", L"C:\\\u4e2d\U0001f600"}}},
                                 {0, L"", {}}}};
    WriteReport(report, file_);
    ExpectEqual(ReadReport(file_), report);
}

TEST_F(SavedReportTest, MayBeEmpty) {
    const SavedReport report = {L"C:\\", false, {}};
    WriteReport(report, file_);
    ExpectEqual(ReadReport(file_), report);
}

TEST_F(SavedReportTest, IsMadeOfWhatWasFound) {
    Findings findings;
    findings.tree.folders = {L"\\\\?\\C:\\folder"};
    // Names that XML does not allow, as they are on disks of other systems.
    for (const wchar_t* const name : {L"a", L"b\xd800z", L"c\xdc00", L"d\xffff\x01", L"\U0001f600"})
        findings.tree.files.push_back({0, name, 7});
    findings.candidates.resize(5);
    Group group;
    group.size = 7;
    for (std::uint32_t file = 0; file != 5; ++file) {
        Candidate& candidate = findings.candidates[file];
        candidate.file = file;
        candidate.state = State::Digested;
        candidate.digest.bytes[0] = 0xab;
        group.copies.push_back({&candidate});
    }
    const SavedReport report = MakeReport(L"\\\\?\\C:\\folder", findings, {group});
    EXPECT_EQ(report.folder, L"C:\\folder");
    EXPECT_TRUE(report.complete);
    ASSERT_EQ(report.groups.size(), 1u);
    EXPECT_EQ(report.groups[0].digest, L"ab" + std::wstring(30, L'0'));
    EXPECT_EQ(report.groups[0].copies,
              (std::vector<std::vector<std::wstring>>{{L"C:\\folder\\a"},
                                                      {L"C:\\folder\\b\ufffdz"},
                                                      {L"C:\\folder\\c\ufffd"},
                                                      {L"C:\\folder\\d\ufffd?"},
                                                      {L"C:\\folder\\\U0001f600"}}));
    WriteReport(report, file_);
    ExpectEqual(ReadReport(file_), report);
}

TEST_F(SavedReportTest, IsIncompleteAfterAnInterruption) {
    Findings findings;
    findings.interrupted = true;
    EXPECT_FALSE(MakeReport(L"C:\\", findings, {}).complete);
}

TEST_F(SavedReportTest, IsRefusedWhenItIsNone) {
    for (const char* const bytes :
         {"", "<a>", "<other/>", "<find_duplicates/>", "<find_duplicates version='2'/>",
          "<find_duplicates version='1' folder='' complete='yes'><group size='x' digest=''/>"
          "</find_duplicates>",
          "<find_duplicates version='1' folder='' complete='yes'><group size='1x' digest=''/>"
          "</find_duplicates>"}) {
        kq_test::WriteBytes(file_, bytes);
        EXPECT_THROW(ReadReport(file_), BadReport) << bytes;
    }
    EXPECT_THROW(ReadReport(file_ + L".missing"), BadReport);
}

TEST_F(SavedReportTest, SaysWhatCannotBeWritten) {
    const std::wstring file = (folder_ / L"missing" / L"report.xml").native();
    try {
        WriteReport({}, file);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const BadReport& problem) {
        EXPECT_EQ(problem.Message(),
                  L"cannot write report '" + file + L"' (Failed to save XML file!)");
    }
}

} // namespace
} // namespace find_duplicates
