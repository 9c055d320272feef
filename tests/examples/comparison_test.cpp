#include "comparison.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace find_duplicates {
namespace {

using Copies = std::vector<std::vector<std::wstring>>;

SavedReport Report(std::vector<SavedGroup> groups) { return {L"C:\\", true, std::move(groups)}; }

SavedGroup Group(std::uint64_t size, const wchar_t* digest, Copies copies) {
    return {size, digest, std::move(copies)};
}

const Copies two = {{L"a"}, {L"b"}};

TEST(DescribeChanges, SaysThatThereAreNone) {
    const SavedReport report = Report({Group(10, L"1", two)});
    EXPECT_EQ(DescribeChanges(report, report),
              L"Since the earlier report: nothing has changed; 10 B wasted, before 10 B\n");
    EXPECT_EQ(DescribeChanges(Report({}), Report({})),
              L"Since the earlier report: nothing has changed; 0 B wasted, before 0 B\n");
}

TEST(DescribeChanges, DoesNotCareForTheOrder) {
    const SavedReport report = Report({Group(10, L"1", two), Group(20, L"2", two)});
    const SavedReport other = Report({Group(20, L"2", {{L"b"}, {L"a"}}), Group(10, L"1", two)});
    EXPECT_EQ(DescribeChanges(report, other),
              L"Since the earlier report: nothing has changed; 30 B wasted, before 30 B\n");
}

TEST(DescribeChanges, ListsGroupsThatComeAndGo) {
    const SavedReport with = Report({Group(10, L"1", two), Group(20, L"2", two)});
    const SavedReport without = Report({Group(10, L"1", two)});
    EXPECT_EQ(DescribeChanges(without, with),
              L"new: 2 copies of 20 B\n    + a\n    + b\n\n"
              L"Since the earlier report: 1 new, 0 gone, 0 changed; 30 B wasted, before 10 B\n");
    EXPECT_EQ(DescribeChanges(with, without),
              L"gone: 2 copies of 20 B\n    - a\n    - b\n\n"
              L"Since the earlier report: 0 new, 1 gone, 0 changed; 10 B wasted, before 30 B\n");
}

TEST(DescribeChanges, ListsWhatAGroupGainsAndLoses) {
    const SavedReport before = Report({Group(10, L"1", {{L"a"}, {L"b", L"name"}, {L"c"}})});
    const SavedReport now = Report({Group(10, L"1", {{L"b"}, {L"d"}})});
    EXPECT_EQ(DescribeChanges(before, now),
              L"changed: 2 copies of 10 B, before 3\n    - a\n    - c\n    - name\n    + d\n\n"
              L"Since the earlier report: 0 new, 0 gone, 1 changed; 10 B wasted, before 20 B\n");
}

TEST(DescribeChanges, TellsContentsOfOneSizeApart) {
    EXPECT_EQ(DescribeChanges(Report({Group(10, L"1", two)}), Report({Group(10, L"2", two)})),
              L"gone: 2 copies of 10 B\n    - a\n    - b\n\n"
              L"new: 2 copies of 10 B\n    + a\n    + b\n\n"
              L"Since the earlier report: 1 new, 1 gone, 0 changed; 10 B wasted, before 10 B\n");
}

TEST(DescribeChanges, ListsTheLargestFirst) {
    const std::wstring text = DescribeChanges(
        Report({}), Report({Group(5, L"1", two), Group(50, L"2", two), Group(20, L"3", two)}));
    EXPECT_LT(text.find(L"of 50 B"), text.find(L"of 20 B"));
    EXPECT_LT(text.find(L"of 20 B"), text.find(L"of 5 B"));
}

TEST(DescribeChanges, SaysWhatCannotBeCompared) {
    SavedReport before = Report({});
    SavedReport now = Report({});
    before.folder = L"D:\\";
    before.complete = false;
    now.complete = false;
    EXPECT_EQ(DescribeChanges(before, now),
              L"Since the earlier report: nothing has changed; 0 B wasted, before 0 B\n"
              L"The earlier report is of another folder: D:\\\n"
              L"The earlier search has not examined everything\n"
              L"This search has not examined everything\n");
}

} // namespace
} // namespace find_duplicates
