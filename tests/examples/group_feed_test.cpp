#include "group_feed.h"

#include "examine.h"
#include "path.h"
#include "search.h"
#include "support/file_bytes.h"
#include "support/scratch_folder.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace find_duplicates {
namespace {

constexpr std::uint64_t large = headLength + 1;

/// Candidates as a search lists them, read by the test itself.
class GroupFeedTest : public testing::Test {
protected:
    GroupFeedTest() { tree_.folders = {L"folder"}; }

    /// The largest first. Files with the same `content` are the same.
    void List(std::uint64_t size, int content) {
        tree_.files.push_back({0, std::to_wstring(tree_.files.size()), size});
        Candidate candidate;
        candidate.file = static_cast<std::uint32_t>(tree_.files.size() - 1);
        candidate.stamp.size = size;
        candidate.digest.bytes[0] = static_cast<unsigned char>(content);
        candidates_.push_back(candidate);
    }

    std::vector<Candidate*> First(std::size_t count) {
        std::vector<Candidate*> first;
        for (std::size_t index = 0; index != count; ++index)
            first.push_back(&candidates_[index]);
        return first;
    }

    void Examine(GroupFeed& feed, std::size_t index, State state) {
        candidates_[index].state = state;
        feed.OnExamined(candidates_[index]);
    }

    OnGroups Recorder() {
        return [this](std::vector<Group> groups) {
            const std::lock_guard guard(mutex_);
            for (Group& group : groups)
                told_.push_back(std::move(group));
        };
    }

    /// The names of the files of the groups, as "0+1" and in order.
    std::vector<std::wstring> Told() const {
        std::vector<std::wstring> texts;
        for (const Group& group : told_) {
            std::wstring text;
            for (const Copy& copy : group.copies) {
                for (const Candidate* name : copy)
                    text += (text.empty()           ? L""
                             : name == copy.front() ? L"+"
                                                    : L"=") +
                            tree_.files[name->file].name;
            }
            texts.push_back(text);
        }
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    using Names = std::vector<std::wstring>;

    Tree tree_;
    std::vector<Candidate> candidates_;
    std::mutex mutex_;
    std::vector<Group> told_;
};

TEST_F(GroupFeedTest, TellsOfSmallFilesWhenTheLastOfTheirSizeIsRead) {
    List(9, 1);
    List(9, 1);
    List(9, 2);
    List(7, 1);
    List(7, 1);
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    Examine(feed, 0, State::Digested);
    Examine(feed, 1, State::Digested);
    Examine(feed, 3, State::Digested);
    EXPECT_EQ(Told(), Names{});
    Examine(feed, 2, State::Digested);
    EXPECT_EQ(Told(), Names{L"0+1"});
    Examine(feed, 4, State::Digested);
    EXPECT_EQ(Told(), (Names{L"0+1", L"3+4"}));
}

TEST_F(GroupFeedTest, TellsOfLargeFilesWhenTheLastBodyOfTheirSizeIsRead) {
    for (const int content : {1, 1, 2, 2, 3})
        List(large, content);
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    for (std::size_t index = 0; index != 5; ++index)
        Examine(feed, index, State::Begun);
    EXPECT_EQ(Told(), Names{});
    feed.ExpectBodies(First(4));
    for (std::size_t index = 0; index != 3; ++index)
        Examine(feed, index, State::Digested);
    EXPECT_EQ(Told(), Names{});
    Examine(feed, 3, State::Digested);
    EXPECT_EQ(Told(), (Names{L"0+1", L"2+3"}));
}

TEST_F(GroupFeedTest, TellsNothingWhereAllDiffer) {
    List(9, 1);
    List(9, 2);
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    Examine(feed, 0, State::Digested);
    Examine(feed, 1, State::Digested);
    EXPECT_EQ(Told(), Names{});
}

TEST_F(GroupFeedTest, LeavesOutWhatCouldNotBeRead) {
    for (int count = 0; count != 4; ++count)
        List(9, 1);
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    Examine(feed, 0, State::Digested);
    Examine(feed, 1, State::Unreadable);
    Examine(feed, 2, State::Digested);
    Examine(feed, 3, State::Changed);
    EXPECT_EQ(Told(), Names{L"0+2"});
}

TEST_F(GroupFeedTest, CountsSeveralNamesOfAFileAsOneCopy) {
    for (int count = 0; count != 5; ++count)
        List(count < 3 ? 9 : 7, 1);
    for (const std::size_t index : {0u, 1u, 3u, 4u}) {
        candidates_[index].hasOtherNames = true;
        candidates_[index].id[0] = index < 3 ? 1 : 2;
    }
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    for (std::size_t index = 0; index != 5; ++index)
        Examine(feed, index, State::Digested);
    EXPECT_EQ(Told(), Names{L"0=1+2"});
}

TEST_F(GroupFeedTest, DoesNotTellTwiceOfASizeWithAFileThatHasGrown) {
    List(9, 1);
    List(9, 1);
    List(9, 1);
    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    Examine(feed, 0, State::Digested);
    Examine(feed, 1, State::Digested);
    candidates_[2].stamp.size = large;
    Examine(feed, 2, State::Begun);
    EXPECT_EQ(Told(), Names{L"0+1"});
    feed.ExpectBodies({&candidates_[2]});
    Examine(feed, 2, State::Digested);
    EXPECT_EQ(Told(), Names{L"0+1"});
}

TEST_F(GroupFeedTest, DoesNothingForNobody) {
    List(9, 1);
    List(9, 1);
    GroupFeed feed(tree_, candidates_, {});
    feed.ExpectHeads();
    Examine(feed, 0, State::Digested);
    Examine(feed, 1, State::Digested);
    feed.ExpectBodies(First(1));
    EXPECT_EQ(candidates_[0].state, State::Digested);
}

TEST_F(GroupFeedTest, TellsOnceOfEachGroupWhenManyThreadsRead) {
    constexpr std::size_t sizes = 2000;
    constexpr std::size_t filesOfASize = 5; // a group of three, and two others
    for (std::size_t size = sizes; size != 0; --size) {
        for (const int content : {1, 1, 1, 2, 3})
            List(size, content);
    }
    std::vector<std::size_t> order(candidates_.size());
    for (std::size_t index = 0; index != order.size(); ++index)
        order[index] = index;
    std::mt19937 random(kq_test::Seed());
    std::shuffle(order.begin(), order.end(), random);

    GroupFeed feed(tree_, candidates_, Recorder());
    feed.ExpectHeads();
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> readers;
    for (int count = 0; count != 4; ++count) {
        readers.emplace_back([&] {
            for (std::size_t at = next++; at < order.size(); at = next++)
                Examine(feed, order[at], State::Digested);
        });
    }
    for (std::thread& reader : readers)
        reader.join();

    Names expected;
    for (std::size_t first = 0; first != sizes * filesOfASize; first += filesOfASize)
        expected.push_back(std::to_wstring(first) + L"+" + std::to_wstring(first + 1) + L"+" +
                           std::to_wstring(first + 2));
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Told(), expected);
}

TEST_F(GroupFeedTest, HasToldOfEveryGroupWhenASearchEnds) {
    const kq_test::ScratchFolder folder;
    const std::string longContent(large, 'x');
    for (const auto& [name, content] : {std::pair<const wchar_t*, std::string>{L"a", "same"},
                                        {L"b", "same"},
                                        {L"c", "else"},
                                        {L"d", longContent},
                                        {L"e", longContent},
                                        {L"f", longContent + "longer"}})
        kq_test::WriteBytes((folder / name).native(), content);

    Work work;
    Findings findings;
    std::vector<Group> groups;
    Search(
        ResolveFolder((folder / L"").native()), 1, work, findings,
        [&] { groups = FindGroups(findings.tree, findings.candidates); }, Recorder());
    ASSERT_EQ(groups.size(), 2u);
    ASSERT_EQ(told_.size(), 2u);
    for (const Group& group : groups) {
        const auto same = [&](const Group& other) {
            return other.size == group.size && other.copies == group.copies;
        };
        EXPECT_EQ(std::count_if(told_.begin(), told_.end(), same), 1);
    }
}

} // namespace
} // namespace find_duplicates
